#pragma once

#include <QString>

#include <stdexcept>

// An error whose message the user reads as it is.
class UserError : public std::runtime_error
{
public:
    explicit UserError(const QString &message) : std::runtime_error(message.toStdString()) {}
    QString message() const { return QString::fromStdString(what()); }
};
