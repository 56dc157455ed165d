#pragma once

#include <QHash>
#include <QString>

// Example values typed for %name% markers, keyed by name + "K"; keys ignore letter case.
class ExampleValueCache
{
public:
    static QString keyFor(const QString &markerName) { return markerName + u'K'; }

    // The empty text when the key is missing.
    QString value(const QString &key) const { return m_values.value(key.toCaseFolded()); }
    void add(const QString &key, const QString &value) { m_values.insert(key.toCaseFolded(), value); }
    void remove(const QString &key) { m_values.remove(key.toCaseFolded()); }
    void clear() { m_values.clear(); }
    qsizetype count() const { return m_values.size(); }

private:
    QHash<QString, QString> m_values;
};
