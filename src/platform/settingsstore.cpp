#include "settingsstore.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QSettings>

#include <utility>

namespace SettingsStore {

namespace {

QString &notice()
{
    static QString text;
    return text;
}

QSettings plainStore()
{
    const QString name = QString::fromUtf16(ApplicationName);
    return QSettings(QSettings::IniFormat, QSettings::UserScope, name, name);
}

// A file the store cannot read in full would be rewritten from the part it could read at the
// next save: keep it aside first, and carry over what was readable.
void keepBrokenFileAside()
{
    QMap<QString, QVariant> readable;
    QString path;
    {
        QSettings probe = plainStore();
        const QStringList keys = probe.allKeys(); // the file is read, and judged, on first use
        if (probe.status() != QSettings::FormatError)
            return;
        path = probe.fileName();
        for (const QString &key : keys)
            readable.insert(key, probe.value(key));
    }
    const QString aside = path + QStringLiteral(".unreadable-") + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss"));
    if (!QFile::rename(path, aside))
        return;
    QSettings fresh = plainStore();
    for (auto it = readable.cbegin(); it != readable.cend(); ++it)
        fresh.setValue(it.key(), it.value());
    notice() = QStringLiteral("The settings file could not be read in full. It was kept as %1; what could be read was carried over.")
                   .arg(QDir::toNativeSeparators(aside));
}

// INI on every platform, so tests redirect it with QSettings::setPath(IniFormat, UserScope, …).
QSettings openStore()
{
    keepBrokenFileAside();
    return plainStore();
}

// The store reads "/" and "\\" in a key as a path, so they travel percent-encoded, and
// "%" with them so that decoding is exact.
QString storeKey(const QString &key)
{
    QString encoded;
    for (const QChar c : key) {
        if (c == u'%')
            encoded += QStringLiteral("%25");
        else if (c == u'/')
            encoded += QStringLiteral("%2F");
        else if (c == u'\\')
            encoded += QStringLiteral("%5C");
        else
            encoded += c;
    }
    return encoded;
}

QString keyFromStore(const QString &encoded)
{
    QString key;
    for (qsizetype i = 0; i < encoded.size(); ++i) {
        const QStringView code = QStringView(encoded).mid(i, 3);
        if (code == u"%25" || code == u"%2F" || code == u"%5C") {
            key += code == u"%25" ? u'%' : code == u"%2F" ? u'/' : u'\\';
            i += 2;
        } else {
            key += encoded.at(i);
        }
    }
    return key;
}

} // namespace

QString takeNotice()
{
    return std::exchange(notice(), QString());
}

QString getSetting(const QString &section, const QString &key, const QString &defaultValue)
{
    QSettings store = openStore();
    store.beginGroup(section);
    return store.value(storeKey(key), defaultValue).toString();
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
        store.setValue(storeKey(key), value);
}

QList<std::pair<QString, QString>> getAllSettings(const QString &section)
{
    QSettings store = openStore();
    store.beginGroup(section);
    QList<std::pair<QString, QString>> pairs;
    const QStringList keys = store.childKeys();
    for (const QString &key : keys)
        pairs.append({keyFromStore(key), store.value(key).toString()});
    return pairs;
}

} // namespace SettingsStore
