#pragma once

#include <QTemporaryDir>

// Points the settings store at a fresh temporary folder for as long as it lives.
class TestSettings
{
public:
    TestSettings();
    ~TestSettings();
    QString path() const { return m_dir.path(); }
    // The settings file, for tests that break it on purpose.
    QString iniFile() const;

private:
    QTemporaryDir m_dir;
};
