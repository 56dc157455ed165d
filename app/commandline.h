#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

// One way of calling the program (the window, `run`, `check`): its parser and the help and
// usage it prints, so that every command answers --help, --version and wrong arguments alike.
// Nothing here needs an application object or a display.
class CommandLine
{
public:
    static constexpr int WrongArguments = 2;

    // usage: one entry per way of calling, continuation lines indented after an embedded \n.
    CommandLine(const QString &word, const QStringList &usage, const QString &summary, const QString &description);

    static QStringList argumentsOf(int argc, char *argv[]);

    void addOption(const QCommandLineOption &option);
    void addArgument(const QString &name, const QString &description);
    // Listed under "Commands:" and in the usage, for the program's own help.
    void addCommand(const CommandLine &command);
    void setClosing(const QString &text) { m_closing = text; }

    // Reads the arguments (the program's name first, the command word left out); after --help,
    // --version or wrong arguments it has printed the answer and returns the status to stop with.
    std::optional<int> read(const QStringList &arguments);
    // Only --help and --version, for arguments that hold what another parser takes first.
    std::optional<int> answerHelpOrVersion(const QStringList &arguments);
    // For what is found wrong once read: the error on one line, then the usage.
    int wrong(const QString &message) const;

    const QCommandLineParser &parser() const { return *m_parser; }
    const QString &summary() const { return m_summary; }
    QString helpText() const;

private:
    struct Entry {
        QString name;
        QString description;
    };

    std::optional<int> answered() const;
    QString usageText() const;

    QString m_word;
    QStringList m_usage;
    QString m_summary;
    QString m_description;
    QString m_closing;
    QList<QCommandLineOption> m_options;
    QList<Entry> m_arguments;
    QList<Entry> m_commands;
    std::unique_ptr<QCommandLineParser> m_parser = std::make_unique<QCommandLineParser>(); // movable
    QCommandLineOption m_help;
    QCommandLineOption m_version;
};
