#include "pagesource.h"

#include "limitedread.h"
#include "html/htmldocument.h"
#include "html/pageencoding.h"
#include "html/pagereaderror.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>

namespace {

bool isKnownScheme(const QString &scheme)
{
    return scheme == u"file" || scheme == u"http" || scheme == u"https";
}

QByteArray fetch(const QUrl &url, QByteArray *contentType)
{
    // One manager per call: runs go on several threads, each with its own event loop here.
    QNetworkAccessManager manager;
    QNetworkRequest request(url);
    request.setTransferTimeout(30000);
    std::unique_ptr<QNetworkReply> reply(manager.get(request));
    QEventLoop loop;
    bool tooLong = false;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QObject::connect(reply.get(), &QNetworkReply::downloadProgress, &loop, [&](qint64 received, qint64) {
        if (received > maxPageBytes() && !tooLong) {
            tooLong = true;
            reply->abort();
        }
    });
    loop.exec();
    if (tooLong)
        throw PageError(tooLongText(url.toDisplayString(), maxPageBytes()));
    if (reply->error() != QNetworkReply::NoError)
        throw PageError(QStringLiteral("cannot fetch %1: %2").arg(url.toDisplayString(), reply->errorString()));
    if (contentType)
        *contentType = reply->rawHeader("Content-Type");
    return reply->readAll();
}

} // namespace

qsizetype maxPageBytes()
{
    return ParseLimits{}.maxInputBytes;
}

PageSource PageSource::fromArgument(const QString &argument)
{
    if (argument == u"-")
        return {argument, QUrl(QStringLiteral("about:blank")), {}};
    const QUrl file = QUrl::fromLocalFile(QFileInfo(argument).absoluteFilePath());
    if (fileKindOf(argument) != FileKind::Missing)
        return {argument, file, {}};
    const QString scheme = QUrl(argument).scheme().toLower();
    if (isKnownScheme(scheme))
        return fromAddress(argument);
    // "C:" is a drive, not a scheme: a missing file.
    if (scheme.size() > 1) {
        return {argument, {}, QStringLiteral("cannot read %1: there is no such file, and %2: is not an address that is read "
                                             "(only file:, http: and https: are)")
                                  .arg(argument, scheme)};
    }
    return {argument, file, {}};
}

PageSource PageSource::fromAddress(const QString &address)
{
    const QUrl url(address);
    if (!isKnownScheme(url.scheme().toLower()))
        return {address, {}, QStringLiteral("cannot read %1: only file:, http: and https: addresses are read").arg(address)};
    return {address, url, {}};
}

QByteArray PageSource::read(QByteArray *contentType) const
{
    if (!refusal.isEmpty())
        throw PageError(refusal);
    if (!isStandardInput() && !url.isLocalFile())
        return fetch(url, contentType);
    QString error;
    std::optional<QByteArray> bytes = isStandardInput() ? readStandardInputLimited(maxPageBytes(), &error)
                                                        : readLimited(url.toLocalFile(), maxPageBytes(), &error);
    if (!bytes)
        throw PageError(error);
    return *std::move(bytes);
}

DocumentPtr staticDocumentFrom(const QByteArray &bytes, const QUrl &url, const QByteArray &contentType)
{
    try {
        return parseHtmlDocument(bytes, url.toString(), {}, PageEncoding::charsetOf(contentType));
    } catch (const PageReadError &error) {
        throw PageError(error.description());
    }
}

DocumentPtr readStaticDocument(const PageSource &source)
{
    QByteArray contentType;
    const QByteArray bytes = source.read(&contentType);
    return staticDocumentFrom(bytes, source.url, contentType);
}
