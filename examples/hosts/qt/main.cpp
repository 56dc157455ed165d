// A Qt Widgets program that embeds the query control: a window that shows the query and opens
// the control's three editors.
//
//   qt_host                                   the window; its buttons open the editors
//   qt_host [--close-editors] EDITOR...       opens each EDITOR (attributes, wizard,
//                                             page-parser) in turn, prints the query, ends
//
// --close-editors closes each editor's window a moment after it shows, and answers No when it
// asks whether to save, as a user who keeps nothing would: a run that needs no one at the screen.
#include <tamberline/tamberlinecontrol.h>

#include <QAbstractButton>
#include <QApplication>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStringList>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>

#include <cstdio>
#include <exception>

namespace {

struct Editor {
    const char *name;
    const char *button;
    bool (Tamberline::*open)();
};

const Editor editors[] = {
    {"attributes", "Attributes...", &Tamberline::EditProperties},
    {"wizard", "Search Wizard...", &Tamberline::EditWizard},
    {"page-parser", "Page Parser...", &Tamberline::EditQueryItem},
};

const Editor *editorNamed(const QString &name)
{
    for (const Editor &editor : editors) {
        if (name == QLatin1String(editor.name))
            return &editor;
    }
    return nullptr;
}

// An editor that fails throws; the host says why and goes on.
QString openEditor(Tamberline &query, const Editor &editor)
{
    try {
        return (query.*editor.open)() ? QStringLiteral("True") : QStringLiteral("False");
    } catch (const std::exception &error) {
        return QStringLiteral("failed: ") + QString::fromUtf8(error.what());
    }
}

QStringList filtersOf(const Tamberline &query)
{
    QStringList filters;
    for (qint16 index = 0; !query.ElemAttribs(index).isEmpty(); ++index)
        filters << query.ElemAttribs(index);
    return filters;
}

class HostWindow : public QWidget
{
public:
    explicit HostWindow(Tamberline &query) : m_query(query)
    {
        setWindowTitle(QStringLiteral("Tamberline Qt host"));
        auto *fields = new QFormLayout;
        fields->addRow(QStringLiteral("Address:"), m_url = new QLabel);
        fields->addRow(QStringLiteral("Search text:"), m_searchText = new QLabel);
        fields->addRow(QStringLiteral("Offset:"), m_offset = new QLabel);
        fields->addRow(QStringLiteral("Filters:"), m_filters = new QLabel);
        auto *buttons = new QHBoxLayout;
        for (const Editor &editor : editors) {
            auto *button = new QPushButton(QString::fromLatin1(editor.button));
            connect(button, &QPushButton::clicked, this, [this, &editor] {
                const QString result = openEditor(m_query, editor);
                if (result.startsWith(QLatin1String("failed")))
                    m_status->setText(result);
                showQuery();
            });
            buttons->addWidget(button);
        }
        auto *layout = new QVBoxLayout(this);
        layout->addLayout(fields);
        layout->addLayout(buttons);
        layout->addWidget(m_status = new QLabel);
        showQuery();
    }

private:
    void showQuery()
    {
        m_url->setText(m_query.Url1());
        m_searchText->setText(m_query.SearchText());
        m_offset->setNum(m_query.NodeOffset());
        m_filters->setText(filtersOf(m_query).join(QStringLiteral(", ")));
    }

    Tamberline &m_query;
    QLabel *m_url, *m_searchText, *m_offset, *m_filters, *m_status;
};

void print(const QString &line)
{
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    // The editors' browser shares its graphics context; this must precede the application.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);

    QStringList arguments = app.arguments().mid(1);
    const bool closeEditors = arguments.removeAll(QStringLiteral("--close-editors")) > 0;
    QList<const Editor *> chosen;
    for (const QString &argument : std::as_const(arguments)) {
        const Editor *editor = editorNamed(argument);
        if (!editor) {
            std::fprintf(stderr, "usage: qt_host [--close-editors] [attributes|wizard|page-parser]...\n");
            return 2;
        }
        chosen << editor;
    }

    Tamberline query;
    query.setUrl1(QStringLiteral("about:blank"));
    query.setSearchText(QStringLiteral("Price*"));
    query.setNodeOffset(1);
    query.setElemAttribs(-1, QStringLiteral("class=price"));

    QTimer closer;
    closer.setInterval(300);
    QObject::connect(&closer, &QTimer::timeout, [] {
        QWidget *window = QApplication::activeModalWidget();
        if (!window)
            return;
        // Queued: closing may ask a question, whose modal loop must not run inside this timer's
        // slot (the timer would not fire again to answer it).
        QMetaObject::invokeMethod(window, [window] {
            const auto *question = qobject_cast<QMessageBox *>(window);
            if (QAbstractButton *no = question ? question->button(QMessageBox::No) : nullptr)
                no->click(); // "save the changes?" No: leave the query as it was
            else
                window->close();
        }, Qt::QueuedConnection);
    });
    if (closeEditors)
        closer.start();

    if (chosen.isEmpty()) {
        HostWindow window(query);
        window.show();
        return app.exec();
    }
    int status = 0;
    for (const Editor *editor : std::as_const(chosen)) {
        const QString result = openEditor(query, *editor);
        print(QString::fromLatin1(editor->name) + QStringLiteral(": ") + result);
        if (result.startsWith(QLatin1String("failed")))
            status = 1;
    }
    print(QStringLiteral("Url1: ") + query.Url1());
    print(QStringLiteral("SearchText: ") + query.SearchText());
    print(QStringLiteral("NodeOffset: ") + QString::number(query.NodeOffset()));
    print(QStringLiteral("ElemAttribs: ") + filtersOf(query).join(QStringLiteral(", ")));
    return status;
}
