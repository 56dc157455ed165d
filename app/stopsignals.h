#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

// SIGINT and SIGTERM as a Qt signal, delivered by the event loop; a second one stops the
// program at once, as if there were no handler.
class StopSignals : public QObject
{
    Q_OBJECT

public:
    explicit StopSignals(QObject *parent = nullptr);
    ~StopSignals() override;

signals:
    void stopAsked(int signalNumber);

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
};
