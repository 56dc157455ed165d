#pragma once

#include "pagesource.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

class QTemporaryFile;
class WebPage;

// Loads pages headless in the browser engine, for pages that build their content with
// scripts. One page at a time, on the application's thread.
class BrowserLoader : public QObject
{
    Q_OBJECT

public:
    // The snapshot, or null and why there is none.
    using Done = std::function<void(DocumentPtr document, const QString &error)>;

    explicit BrowserLoader(QObject *parent = nullptr);
    ~BrowserLoader() override;

    // How long the page may take to load, and then its snapshot.
    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }

    // Starts reading a page and returns; done is called once, later, from the event loop.
    // Starting another page or cancelling drops it uncalled, as does the loader's end.
    void start(const PageSource &source, Done done);
    void cancel();
    bool isBusy() const { return bool(m_done); }

    // The page's snapshot once it has loaded, waited for in an event loop of its own.
    // Throws PageError.
    DocumentPtr load(const PageSource &source);

private:
    void loadFinished(bool ok);
    void timedOut();
    void finish(DocumentPtr document, const QString &error);
    // A page that may still answer for an earlier load is thrown away, never reused.
    void dropPage();

    enum class Stage { Idle, Loading, Failed, Snapshot };

    std::chrono::milliseconds m_timeout{60000};
    std::unique_ptr<WebPage> m_page;
    // Standard input or a FIFO, read by us and given to the engine as a file.
    std::unique_ptr<QTemporaryFile> m_copy;
    QTimer m_timer;
    Stage m_stage = Stage::Idle;
    QString m_name;
    QString m_failure; // the last address that failed to load, and why
    Done m_done;
    quint64 m_generation = 0;
};
