#include "settingsstore.h"

#include <QSettings>

namespace SettingsStore {

namespace {

// INI on every platform, so tests redirect it with QSettings::setPath(IniFormat, UserScope, …).
QSettings openStore()
{
    const QString name = QString::fromUtf16(ApplicationName);
    return QSettings(QSettings::IniFormat, QSettings::UserScope, name, name);
}

} // namespace

QString getSetting(const QString &section, const QString &key, const QString &defaultValue)
{
    QSettings store = openStore();
    store.beginGroup(section);
    return store.value(key, defaultValue).toString();
}

void saveSetting(const QString &section, const QString &key, const QString &value)
{
    saveSettings(section, {{key, value}});
}

void saveSettings(const QString &section, const QList<std::pair<QString, QString>> &pairs)
{
    QSettings store = openStore();
    store.beginGroup(section);
    for (const auto &[key, value] : pairs)
        store.setValue(key, value);
}

QList<std::pair<QString, QString>> getAllSettings(const QString &section)
{
    QSettings store = openStore();
    store.beginGroup(section);
    QList<std::pair<QString, QString>> pairs;
    const QStringList keys = store.childKeys();
    for (const QString &key : keys)
        pairs.append({key, store.value(key).toString()});
    return pairs;
}

} // namespace SettingsStore
