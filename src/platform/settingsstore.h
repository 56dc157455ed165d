#pragma once

#include <QList>
#include <QString>

#include <utility>

// The per-user settings store of the application "Tamberline", by section and key.
namespace SettingsStore {

inline constexpr char16_t ApplicationName[] = u"Tamberline";

QString getSetting(const QString &section, const QString &key, const QString &defaultValue = {});
void saveSetting(const QString &section, const QString &key, const QString &value);
// Several keys in one write, in the order given.
void saveSettings(const QString &section, const QList<std::pair<QString, QString>> &pairs);
// What the store has to tell the user once (a broken file kept aside), or empty.
QString takeNotice();

// Every key of a section with its value, in the store's order.
QList<std::pair<QString, QString>> getAllSettings(const QString &section);

} // namespace SettingsStore
