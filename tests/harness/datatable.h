#pragma once

#include "platform/runtimeerror.h"

#include <QTest>
#include <QVariant>

#include <tuple>
#include <type_traits>

// A data table's columns on one line, and a row of them read back on another:
//   addColumns<QByteArray, QString>("html", "text");
//   const auto [html, text] = fetchRow<QByteArray, QString>("html", "text");
template <typename... Types, typename... Names>
void addColumns(Names... names)
{
    (QTest::addColumn<Types>(names), ...);
}

template <typename... Types, typename... Names>
std::tuple<Types...> fetchRow(Names... names)
{
    return {*static_cast<Types *>(QTest::qData(names, qMetaTypeId<Types>()))...};
}

// What the call gave ("" for nothing), "error N" when it raised run-time error N, or the
// message of any other error it raised: a raise fails its row only.
template <typename Call>
QString outcome(Call call)
{
    try {
        if constexpr (std::is_void_v<decltype(call())>) {
            call();
            return {};
        } else {
            return QVariant(call()).toString();
        }
    } catch (const RuntimeError &error) {
        return QStringLiteral("error %1").arg(error.number());
    } catch (const std::exception &error) {
        return QString::fromUtf8(error.what());
    }
}
