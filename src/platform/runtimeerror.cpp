#include "runtimeerror.h"

QString standardErrorDescription(int number)
{
    switch (number) {
    case ErrorNumber::InvalidCall:
        return QStringLiteral("Invalid procedure call or argument");
    case ErrorNumber::Overflow:
        return QStringLiteral("Overflow");
    case ErrorNumber::TypeMismatch:
        return QStringLiteral("Type mismatch");
    case ErrorNumber::ObjectVariableNotSet:
        return QStringLiteral("Object variable or With block variable not set");
    case ErrorNumber::ObjectRequired:
        return QStringLiteral("Object required");
    case ErrorNumber::MemberNotFound:
        return QStringLiteral("Object doesn't support this property or method");
    case ErrorNumber::ActionNotSupported:
        return QStringLiteral("Object doesn't support this action");
    case ErrorNumber::WrongArguments:
        return QStringLiteral("Wrong number of arguments or invalid property assignment");
    case ErrorNumber::ElementNotFound:
        return QStringLiteral("Element not found");
    }
    return QStringLiteral("Application-defined or object-defined error");
}

RuntimeError::RuntimeError(int number, const QString &description)
    : m_number(number)
    , m_description(description.isEmpty() ? standardErrorDescription(number) : description)
    , m_what(QStringLiteral("Run-time error %1: %2").arg(number).arg(m_description).toUtf8())
{
}
