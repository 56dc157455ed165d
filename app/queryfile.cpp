#include "queryfile.h"

#include "control/controlaccess.h"
#include "limitedread.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QRegularExpression>
#include <QSaveFile>
#include <QUrl>

#include <limits>

namespace {

const QStringList knownKeys{QStringLiteral("Url1"), QStringLiteral("AllowNav2"), QStringLiteral("SearchText"),
                            QStringLiteral("NodeOffset"), QStringLiteral("ElemAttribs")};

QString typeError(const QString &key, const char *expected)
{
    return QStringLiteral("\"%1\" must be %2").arg(key, QString::fromLatin1(expected));
}

bool hasScheme(const QString &address)
{
    static const QRegularExpression scheme(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]*:"));
    return scheme.match(address).hasMatch();
}

QString folderUrl(const QString &folder)
{
    return QUrl::fromLocalFile(QDir(folder).absolutePath()).toString() + u'/';
}

enum class Markers { Pending, Filled };

// The file part is resolved; a query or fragment after it, markers and all, is kept as it is.
// A file part with markers waits until they are filled.
QString resolveAddress(const QString &address, const QString &folder, Markers markers = Markers::Pending)
{
    if (address.isEmpty() || folder.isEmpty() || hasScheme(address))
        return address;
    const qsizetype end = address.indexOf(QRegularExpression(QStringLiteral("[?#]")));
    const QString file = end < 0 ? address : address.left(end);
    if (file.isEmpty() || (markers == Markers::Pending && file.contains(u'%')))
        return address;
    const QString rest = end < 0 ? QString() : address.mid(end);
    return QUrl::fromLocalFile(QDir(folder).absoluteFilePath(file)).toString() + rest;
}

QString tooManyFilters(qsizetype count)
{
    return QStringLiteral("\"ElemAttribs\" holds %1 filters; a query holds at most %2")
        .arg(QLocale(QLocale::English).toString(count), QLocale(QLocale::English).toString(QueryFile::MaxFilters));
}

QString relativeAddress(const QString &address, const QString &folder)
{
    const QString prefix = folderUrl(folder);
    if (folder.isEmpty() || !address.startsWith(prefix))
        return address;
    const QString rest = address.mid(prefix.size());
    const qsizetype end = rest.indexOf(QRegularExpression(QStringLiteral("[?#]")));
    const QString file = QUrl::fromPercentEncoding((end < 0 ? rest : rest.left(end)).toUtf8());
    // Only a name that reads back as the same file is written relative.
    if (file.isEmpty() || hasScheme(file) || file.contains(QRegularExpression(QStringLiteral("[%?#]"))))
        return address;
    const QString relative = file + (end < 0 ? QString() : rest.mid(end));
    return resolveAddress(relative, folder) == address ? relative : address;
}

} // namespace

QueryFile QueryFile::parse(const QByteArray &json, const QString &folder)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        throw QueryFileError(QStringLiteral("not valid JSON at character %1: %2").arg(error.offset).arg(error.errorString()));
    if (!document.isObject())
        throw QueryFileError(QStringLiteral("the file must hold one JSON object"));
    const QJsonObject object = document.object();
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (!knownKeys.contains(it.key()))
            throw QueryFileError(QStringLiteral("unknown key \"%1\" (known: %2)").arg(it.key(), knownKeys.join(QStringLiteral(", "))));
    }
    // All five are required: a file without one is more likely cut short than meant that way.
    for (const QString &key : knownKeys) {
        if (!object.contains(key))
            throw QueryFileError(QStringLiteral("missing key \"%1\"").arg(key));
    }

    QueryFile query;
    const auto text = [&](const QString &key) {
        const QJsonValue value = object.value(key);
        if (value.isUndefined())
            return QString();
        if (!value.isString())
            throw QueryFileError(typeError(key, "a string"));
        return value.toString();
    };
    query.Url1 = resolveAddress(text(QStringLiteral("Url1")), folder);
    query.SearchText = text(QStringLiteral("SearchText"));

    const QJsonValue allowNav = object.value(QStringLiteral("AllowNav2"));
    if (!allowNav.isUndefined() && !allowNav.isBool())
        throw QueryFileError(typeError(QStringLiteral("AllowNav2"), "true or false"));
    query.AllowNav2 = allowNav.toBool();

    const QJsonValue offset = object.value(QStringLiteral("NodeOffset"));
    if (!offset.isUndefined()) {
        const double number = offset.toDouble(0.5);
        if (!offset.isDouble() || number != static_cast<double>(static_cast<long long>(number))
            || number < std::numeric_limits<int32_t>::min() || number > std::numeric_limits<int32_t>::max())
            throw QueryFileError(typeError(QStringLiteral("NodeOffset"), "a whole number from -2147483648 to 2147483647"));
        query.NodeOffset = static_cast<int32_t>(number);
    }

    const QJsonValue attribs = object.value(QStringLiteral("ElemAttribs"));
    if (!attribs.isUndefined()) {
        if (!attribs.isArray())
            throw QueryFileError(typeError(QStringLiteral("ElemAttribs"), "a list of \"name=value\" strings"));
        const QJsonArray entries = attribs.toArray();
        if (entries.size() > MaxFilters)
            throw QueryFileError(tooManyFilters(entries.size()));
        for (const QJsonValue &entry : entries) {
            if (!entry.isString())
                throw QueryFileError(typeError(QStringLiteral("ElemAttribs"), "a list of \"name=value\" strings"));
            query.ElemAttribs.append(entry.toString());
        }
    }
    return query;
}

QueryFile QueryFile::load(const QString &path)
{
    QString error;
    const std::optional<QByteArray> json = readLimited(path, MaxFileBytes, &error);
    if (!json)
        throw QueryFileError(error);
    try {
        return parse(*json, QFileInfo(path).absolutePath());
    } catch (const QueryFileError &error) {
        throw QueryFileError(QStringLiteral("%1: %2").arg(path, error.message()));
    }
}

QByteArray QueryFile::toJson(const QString &folder) const
{
    QJsonObject object;
    object.insert(QStringLiteral("Url1"), relativeAddress(Url1, folder));
    object.insert(QStringLiteral("AllowNav2"), AllowNav2);
    object.insert(QStringLiteral("SearchText"), SearchText);
    object.insert(QStringLiteral("NodeOffset"), NodeOffset);
    object.insert(QStringLiteral("ElemAttribs"), QJsonArray::fromStringList(ElemAttribs));
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

QString QueryFile::resolvedAddress(const QString &address, const QString &folder)
{
    return resolveAddress(address, folder, Markers::Filled);
}

void QueryFile::save(const QString &path) const
{
    if (ElemAttribs.size() > MaxFilters)
        throw QueryFileError(QStringLiteral("cannot write %1: %2").arg(path, tooManyFilters(ElemAttribs.size())));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        throw QueryFileError(QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    file.write(toJson(QFileInfo(path).absolutePath()));
    if (!file.commit())
        throw QueryFileError(QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
}

void QueryFile::applyTo(Tamberline &control) const
{
    control.setUrl1(Url1);
    control.setAllowNav2(AllowNav2);
    control.setSearchText(SearchText);
    control.setNodeOffset(NodeOffset);
    control.ClearAttribs();
    for (const QString &entry : ElemAttribs)
        control.setElemAttribs(-1, entry);
}

QueryFile QueryFile::readFrom(const Tamberline &control)
{
    QueryFile query;
    query.Url1 = control.Url1();
    query.AllowNav2 = control.AllowNav2();
    query.SearchText = control.SearchText();
    query.NodeOffset = control.NodeOffset();
    query.ElemAttribs = storedAttribs(control);
    return query;
}
