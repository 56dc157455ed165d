#pragma once

#include <QJsonValue>
#include <QObject>

// The one object the application's page script reaches over the web channel, in the isolated
// world only. Its slots are the whole surface a page could try to misuse, so each takes what
// comes as it comes and passes on only whole element indexes.
class PageBridge : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

public slots:
    void pointerOver(const QJsonValue &sourceIndex);
    void pointerOut();
    void doubleClicked(const QJsonValue &sourceIndex);
    void selectionChanged(const QJsonValue &sourceIndex);
    void viewportChanged();

signals:
    void elementPointed(int sourceIndex);
    void pointerLeft();
    void elementDoubleClicked(int sourceIndex);
    void selectionMoved(int sourceIndex);
    // The page scrolled or the view changed size: what the page shows has moved.
    void viewportMoved();
};
