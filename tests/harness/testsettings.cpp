#include "testsettings.h"

#include "platform/settingsstore.h"

#include <QSettings>

using namespace Qt::StringLiterals;

TestSettings::TestSettings()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.path());
}

TestSettings::~TestSettings()
{
    // Anything written after the test would land nowhere rather than in the user's settings.
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, u"/nonexistent"_s);
}

QString TestSettings::iniFile() const
{
    const QString name = QString::fromUtf16(SettingsStore::ApplicationName);
    return m_dir.path() + u'/' + name + u'/' + name + u".ini"_s;
}
