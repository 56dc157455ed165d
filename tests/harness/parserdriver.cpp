#include "parserdriver.h"

#include <tamberline/tamberlinecontrol.h>
#include "parser/frmmain.h"
#include "browser/webpage.h"
#include "freshquery.h"
#include "scripteddialogs.h"

#include <QAction>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
#include <QtTest>

QString testPageUrl(const QString &name)
{
    return QUrl::fromLocalFile(QStringLiteral(TAMBERLINE_TEST_DATA "/pages/") + name).toString();
}

void ParserTestCase::init()
{
    m_settings = std::make_unique<TestSettings>();
    resetThreadQuery();
}

void ParserTestCase::cleanup()
{
    m_settings.reset();
}

QString ParserTestCase::writePage(const QByteArray &body)
{
    static int count = 0;
    const QString path = m_pages.filePath(QStringLiteral("page%1.html").arg(++count));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return {};
    file.write("<!DOCTYPE html><html><head><title>t</title></head><body>" + body + "</body></html>");
    return QUrl::fromLocalFile(path).toString();
}

ParserSession::ParserSession(const QString &url, bool allowNavigation)
{
    control.setUrl1(url);
    control.setAllowNav2(allowNavigation);
}

void ParserSession::edit(const std::function<void(frmMain *)> &steps, bool waitForTree)
{
    script.onModal([&](QWidget *window) {
        QPointer<frmMain> parser = qobject_cast<frmMain *>(window);
        QVERIFY2(parser, "the modal window is not the Page Parser");
        // A failed step returns early: Exit still ends the session rather than leave it hanging.
        [&] {
            if (waitForTree) {
                // The start-up actions done, and their timer at rest rather than ticking on.
                QVERIFY(QTest::qWaitFor([&] { return parser->actionQueue().isEmpty() && !child<QTimer>(parser, "todoSequencer")->isActive()
                                                     && parser->isDocumentComplete() && parser->nodeTree().count() > 1; },
                                        20000));
            }
            steps(parser);
        }();
        if (parser && parser->isVisible())
            triggerMenu(parser, "mnu_Exit");
    });
    QVERIFY(control.EditQueryItem());
    QVERIFY2(script.done(), qPrintable(script.pending()));
}

void clickButton(QWidget *window, const char *button)
{
    QTest::mouseClick(child<QPushButton>(window, button), Qt::LeftButton);
}

void triggerMenu(QWidget *window, const char *action)
{
    child<QAction>(window, action)->trigger();
}

int elementWithId(const DocumentPtr &document, const QString &id)
{
    for (int i = 0; document && i < document->length(); ++i) {
        if (document->item(i).id == id)
            return i;
    }
    return -1;
}

void clickNode(frmMain *parser, QTreeWidgetItem *node, Qt::MouseButton button)
{
    auto *tree = child<QTreeWidget>(parser, "tvu");
    for (QTreeWidgetItem *parent = node->parent(); parent; parent = parent->parent())
        parent->setExpanded(true);
    tree->scrollToItem(node);
    const QPoint centre = tree->visualItemRect(node).center();
    QTest::mouseMove(tree->viewport(), centre);
    QTest::mouseClick(tree->viewport(), button, {}, centre);
}

QVariant runInPage(frmMain *parser, const QString &script)
{
    QVariant result;
    bool done = false;
    parser->page()->runJavaScript(script, WebPage::UnsafeJsWorld, [&](const QVariant &value) {
        result = value;
        done = true;
    });
    QTest::qWaitFor([&] { return done; }, 10000);
    return result;
}
