#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

// The run-time error numbers the component raises; hosts receive them as call status.
namespace ErrorNumber {
constexpr int InvalidCall = 5;
constexpr int Overflow = 6;
constexpr int TypeMismatch = 13;
constexpr int ObjectVariableNotSet = 91;
constexpr int ObjectRequired = 424;
constexpr int MemberNotFound = 438;
constexpr int ActionNotSupported = 445;
constexpr int WrongArguments = 450;
constexpr int ElementNotFound = 35601;
} // namespace ErrorNumber

QString standardErrorDescription(int number);

// A failed operation. Thrown inside the component and caught at every handler boundary
// (see handlerguard.h) or turned into a status at the interface.
class RuntimeError : public std::exception
{
public:
    explicit RuntimeError(int number, const QString &description = {});

    int number() const { return m_number; }
    QString description() const { return m_description; }
    const char *what() const noexcept override { return m_what.constData(); }

private:
    int m_number;
    QString m_description;
    QByteArray m_what;
};
