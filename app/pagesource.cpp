#include "pagesource.h"

#include "platform/gumbodocument.h"
#include "platform/pagereaderror.h"

#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

#include <cstdio>

namespace {

QByteArray fetch(const QUrl &url)
{
    // One manager per call: runs go on several threads, each with its own event loop here.
    QNetworkAccessManager manager;
    QNetworkRequest request(url);
    request.setTransferTimeout(30000);
    std::unique_ptr<QNetworkReply> reply(manager.get(request));
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    if (reply->error() != QNetworkReply::NoError)
        throw PageError(QStringLiteral("cannot fetch %1: %2").arg(url.toDisplayString(), reply->errorString()));
    return reply->readAll();
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw PageError(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
    return file.readAll();
}

} // namespace

PageSource PageSource::fromArgument(const QString &argument)
{
    if (argument == u"-") {
        PageSource source{argument, QUrl(QStringLiteral("about:blank")), {}};
        QFile in;
        if (!in.open(stdin, QIODevice::ReadOnly))
            throw PageError(QStringLiteral("cannot read standard input"));
        source.stdinBytes = in.readAll();
        return source;
    }
    const QUrl url(argument);
    if (!url.scheme().isEmpty() && url.scheme().size() > 1) // "C:" is a drive, not a scheme
        return fromAddress(argument);
    return {argument, QUrl::fromLocalFile(QFileInfo(argument).absoluteFilePath()), {}};
}

PageSource PageSource::fromAddress(const QString &address)
{
    const QUrl url(address);
    const QString scheme = url.scheme().toLower();
    if (scheme != u"file" && scheme != u"http" && scheme != u"https")
        throw PageError(QStringLiteral("cannot read %1: only file:, http: and https: addresses are read").arg(address));
    return {address, url, {}};
}

QByteArray PageSource::read() const
{
    if (name == u"-")
        return stdinBytes;
    if (url.isLocalFile())
        return readFile(url.toLocalFile());
    return fetch(url);
}

DocumentPtr readStaticDocument(const PageSource &source)
{
    const QByteArray bytes = source.read();
    try {
        return parseHtmlDocument(bytes, source.url.toString());
    } catch (const PageReadError &error) {
        throw PageError(error.description());
    }
}
