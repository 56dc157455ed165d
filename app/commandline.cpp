#include "commandline.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr qsizetype Width = 80;
constexpr qsizetype WidestName = 26;

// The words of text after start, broken before Width; later lines start at indent.
QString wrapped(QString start, const QString &text, qsizetype indent)
{
    QString out;
    bool lineHasWord = false;
    for (const QString &word : text.split(u' ', Qt::SkipEmptyParts)) {
        if (lineHasWord && start.size() + 1 + word.size() > Width) {
            out += start + u'\n';
            start = QString(indent, u' ');
            lineHasWord = false;
        }
        if (lineHasWord)
            start += u' ';
        start += word;
        lineHasWord = true;
    }
    return out + start + u'\n';
}

QString optionName(const QCommandLineOption &option)
{
    QStringList names;
    for (const QString &name : option.names())
        names.append((name.size() == 1 ? QStringLiteral("-") : QStringLiteral("--")) + name);
    QString text = names.join(QStringLiteral(", "));
    if (!option.valueName().isEmpty())
        text += u' ' + option.valueName();
    return text;
}

QString optionDescription(const QCommandLineOption &option)
{
    const QStringList defaults = option.defaultValues();
    return defaults.isEmpty() ? option.description()
                              : option.description() + QStringLiteral(" Default: %1.").arg(defaults.join(QStringLiteral(", ")));
}

template<typename Row>
QString section(const QString &title, const QList<Row> &rows)
{
    if (rows.isEmpty())
        return {};
    qsizetype widest = 0;
    for (const Row &row : rows)
        widest = std::max(widest, row.name.size());
    const qsizetype indent = 2 + std::min(widest, WidestName) + 2;
    QString text = u'\n' + title + u'\n';
    for (const Row &row : rows) {
        QString start = QStringLiteral("  ") + row.name;
        if (start.size() + 2 > indent) {
            text += start + u'\n';
            start.clear();
        }
        text += wrapped(start.leftJustified(indent), row.description, indent);
    }
    return text;
}

void print(FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

} // namespace

CommandLine::CommandLine(const QString &word, const QStringList &usage, const QString &summary, const QString &description)
    : m_word(word)
    , m_usage(usage)
    , m_summary(summary)
    , m_description(description)
    , m_help(QStringList{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help and exit."))
    , m_version(QStringLiteral("version"), QStringLiteral("Show the version and exit."))
{
    // -platform and the other options of Qt's own stay whole words rather than clusters of letters.
    m_parser->setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    m_parser->addOption(m_help);
    m_parser->addOption(m_version);
}

QStringList CommandLine::argumentsOf(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

void CommandLine::addOption(const QCommandLineOption &option)
{
    m_parser->addOption(option);
    if (!(option.flags() & QCommandLineOption::HiddenFromHelp))
        m_options.append(option);
}

void CommandLine::addArgument(const QString &name, const QString &description)
{
    m_arguments.append({name, description});
}

void CommandLine::addCommand(const CommandLine &command)
{
    m_commands.append({command.m_word, command.m_summary});
    m_usage += command.m_usage;
}

std::optional<int> CommandLine::read(const QStringList &arguments)
{
    const bool understood = m_parser->parse(arguments);
    if (const std::optional<int> status = answered())
        return status;
    if (!understood)
        return wrong(m_parser->errorText());
    return std::nullopt;
}

std::optional<int> CommandLine::answerHelpOrVersion(const QStringList &arguments)
{
    m_parser->parse(arguments);
    return answered();
}

std::optional<int> CommandLine::answered() const
{
    if (m_parser->isSet(m_help)) {
        print(stdout, helpText());
        return 0;
    }
    if (m_parser->isSet(m_version)) {
        print(stdout, QStringLiteral("tamberline " TAMBERLINE_VERSION "\n"));
        return 0;
    }
    return std::nullopt;
}

int CommandLine::wrong(const QString &message) const
{
    const QString command = m_word.isEmpty() ? QStringLiteral("tamberline") : QStringLiteral("tamberline ") + m_word;
    print(stderr, QStringLiteral("tamberline: %1\n%2Try '%3 --help' for more.\n").arg(message, usageText(), command));
    return WrongArguments;
}

QString CommandLine::usageText() const
{
    QString text;
    for (const QString &usage : m_usage)
        text += (text.isEmpty() ? QStringLiteral("usage: ") : QStringLiteral("       ")) + QString(usage).replace(u'\n', QStringLiteral("\n       ")) + u'\n';
    return text;
}

QString CommandLine::helpText() const
{
    QList<Entry> options;
    for (const QCommandLineOption &option : m_options + QList<QCommandLineOption>{m_help, m_version})
        options.append({optionName(option), optionDescription(option)});
    QString text = usageText();
    for (const QString &paragraph : QStringList{m_summary} + m_description.split(u'\n', Qt::SkipEmptyParts))
        text += u'\n' + wrapped({}, paragraph, 0);
    text += section(QStringLiteral("Arguments:"), m_arguments) + section(QStringLiteral("Commands:"), m_commands)
          + section(QStringLiteral("Options:"), options);
    if (!m_closing.isEmpty())
        text += u'\n' + wrapped({}, m_closing, 0);
    return text;
}
