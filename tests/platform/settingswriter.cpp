// Writes favorites into a settings folder, one save at a time: two of these at once are two
// processes writing the same settings file.
#include "platform/settingsstore.h"

#include <QCoreApplication>
#include <QSettings>

using namespace Qt::StringLiterals;

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc < 4)
        return 2;
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, QString::fromLocal8Bit(argv[1]));
    const QString prefix = QString::fromLocal8Bit(argv[2]);
    const int count = QByteArray(argv[3]).toInt();
    for (int i = 0; i < count; ++i)
        SettingsStore::saveSetting(u"Favorites"_s, prefix + QString::number(i), u"http://x/%1"_s.arg(i));
    return 0;
}
