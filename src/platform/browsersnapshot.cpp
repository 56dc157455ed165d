#include "browsersnapshot.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

[[noreturn]] void malformed(const char *what)
{
    throw SnapshotFormatError(what);
}

int indexValue(const QJsonValue &value, int lowest, int below)
{
    const double number = value.toDouble(-2);
    if (!value.isDouble() || number != int(number) || number < lowest || number >= below)
        malformed("an element index is out of range");
    return int(number);
}

} // namespace

DocumentPtr documentFromSnapshotJson(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonDocument parsed = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !parsed.isObject())
        malformed("the snapshot is not a JSON object");
    const QJsonObject root = parsed.object();
    const QJsonArray elements = root.value(QStringLiteral("elements")).toArray();

    auto document = std::make_shared<Document>();
    document->url = root.value(QStringLiteral("url")).toString();
    document->title = root.value(QStringLiteral("title")).toString();
    document->cut = root.value(QStringLiteral("cut")).toBool();
    document->cutReason = root.value(QStringLiteral("cutReason")).toString();
    const int count = int(elements.size());
    document->elements.reserve(count);
    for (int i = 0; i < count; ++i) {
        const QJsonArray fields = elements.at(i).toArray();
        if (fields.size() != 6)
            malformed("an element does not have six fields");
        Document::Element element;
        element.tagName = fields.at(0).toString();
        element.parent = indexValue(fields.at(1), -1, i); // parents come first in document order
        element.id = fields.at(2).toString();
        element.innerText = fields.at(3).toString();
        const QJsonArray attributes = fields.at(4).toArray();
        if (attributes.size() % 2 != 0)
            malformed("an attribute has no value");
        element.attributes.reserve(attributes.size() / 2);
        for (qsizetype a = 0; a + 1 < attributes.size(); a += 2)
            element.attributes.append(Document::Attribute{attributes.at(a).toString(), attributes.at(a + 1).toString()});
        const QJsonArray children = fields.at(5).toArray();
        element.children.reserve(children.size());
        for (const QJsonValue &child : children) {
            if (child.isString()) {
                element.children.append(Document::ChildNode{-1, child.toString()});
                continue;
            }
            // A cut snapshot ends before some children; they are left out like the rest.
            if (document->cut && child.toDouble() >= count)
                continue;
            element.children.append(Document::ChildNode{indexValue(child, 0, count), {}});
        }
        document->elements.append(std::move(element));
    }
    return document;
}
