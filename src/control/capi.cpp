// The C interface over Tamberline: statuses instead of exceptions, UTF-8 instead of QString.
#include <tamberline/tamberline.h>

#include "platform/boundarytypes.h"
#include "controlaccess.h"

#include <QStringDecoder>
#include <QThread>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

struct TamberlineControl {
    std::unique_ptr<Tamberline> control;
};

namespace {

constexpr int OutOfMemory = 7;
constexpr int InternalError = 51;

thread_local QByteArray lastError;

char *copyUtf8(const QByteArray &utf8)
{
    auto *copy = static_cast<char *>(std::malloc(static_cast<size_t>(utf8.size()) + 1));
    if (!copy)
        throw std::bad_alloc();
    std::memcpy(copy, utf8.constData(), static_cast<size_t>(utf8.size()) + 1);
    return copy;
}

char *copyText(const QString &text)
{
    return copyUtf8(text.toUtf8());
}

int fail(int number, const QString &description)
{
    lastError = description.toUtf8();
    return number;
}

// Runs one call: the status is 0 or the number of the error that ended it. Success clears the
// last error, except that an EditQueryItem that returned False leaves why.
template <typename Call>
int guarded(Call &&call)
{
    try {
        takeEditQueryItemFailure();
        call();
        lastError = takeEditQueryItemFailure().toUtf8();
        return 0;
    } catch (const RuntimeError &error) {
        return fail(error.number(), error.description());
    } catch (const std::bad_alloc &) {
        return fail(OutOfMemory, QStringLiteral("Out of memory"));
    } catch (const std::exception &error) {
        return fail(InternalError, QString::fromLocal8Bit(error.what()));
    }
}

Tamberline &controlOf(TamberlineControl *handle)
{
    if (!handle || !handle->control)
        throw RuntimeError(ErrorNumber::ObjectRequired);
    if (handle->control->thread() != QThread::currentThread())
        throw RuntimeError(ErrorNumber::InvalidCall,
                           QStringLiteral("The control was called from a thread other than the one that created it"));
    return *handle->control;
}

template <typename T>
T &out(T *result)
{
    if (!result)
        throw RuntimeError(ErrorNumber::InvalidCall, QStringLiteral("The result pointer is null"));
    return *result;
}

// Text as the host passed it; bytes that are not UTF-8 are refused rather than replaced, so
// nothing the host did not mean is stored.
QString fromUtf8(const char *text)
{
    if (!text)
        return {};
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
    QString decoded = decoder(text);
    if (decoder.hasError())
        throw RuntimeError(ErrorNumber::InvalidCall, QStringLiteral("The text is not valid UTF-8"));
    return decoded;
}

QVariant toVariant(const TamberlineValue &value)
{
    switch (value.type) {
    case TAMBERLINE_EMPTY:
        return {};
    case TAMBERLINE_BOOL:
        return value.number != 0;
    case TAMBERLINE_INT16:
        return QVariant::fromValue(checkedInt16(value.number));
    case TAMBERLINE_INT32:
        return QVariant::fromValue(value.number);
    case TAMBERLINE_TEXT:
        return fromUtf8(value.text);
    }
    throw RuntimeError(ErrorNumber::TypeMismatch, QStringLiteral("Unknown argument type %1").arg(value.type));
}

TamberlineValue fromVariant(const QVariant &value)
{
    // Booleans come out of dispatch as 16-bit VBool; no member returns another 16-bit value.
    switch (value.typeId()) {
    case QMetaType::Bool:
        return {TAMBERLINE_BOOL, toVBool(value.toBool()), nullptr};
    case QMetaType::Short:
        return {TAMBERLINE_BOOL, value.toInt(), nullptr};
    case QMetaType::Int:
        return {TAMBERLINE_INT32, value.toInt(), nullptr};
    case QMetaType::QString:
        return {TAMBERLINE_TEXT, 0, copyText(value.toString())};
    }
    return {TAMBERLINE_EMPTY, 0, nullptr};
}

} // namespace

extern "C" {

int tamberline_create(TamberlineControl **control)
{
    return guarded([&] {
        TamberlineControl *&handle = out(control);
        auto created = std::make_unique<TamberlineControl>();
        created->control = std::make_unique<Tamberline>();
        handle = created.release();
    });
}

int tamberline_release(TamberlineControl *control)
{
    return guarded([&] {
        controlOf(control);
        delete control;
    });
}

int tamberline_Url1_get(TamberlineControl *control, char **result)
{
    return guarded([&] { out(result) = copyText(controlOf(control).Url1()); });
}

int tamberline_Url1_put(TamberlineControl *control, const char *text)
{
    return guarded([&] { controlOf(control).setUrl1(fromUtf8(text)); });
}

int tamberline_AllowNav2_get(TamberlineControl *control, int16_t *result)
{
    return guarded([&] { out(result) = toVBool(controlOf(control).AllowNav2()); });
}

int tamberline_AllowNav2_put(TamberlineControl *control, int16_t value)
{
    return guarded([&] { controlOf(control).setAllowNav2(fromVBool(value)); });
}

int tamberline_SearchText_get(TamberlineControl *control, char **result)
{
    return guarded([&] { out(result) = copyText(controlOf(control).SearchText()); });
}

int tamberline_SearchText_put(TamberlineControl *control, const char *text)
{
    return guarded([&] { controlOf(control).setSearchText(fromUtf8(text)); });
}

int tamberline_ElemAttribs_get(TamberlineControl *control, int16_t index, char **result)
{
    return guarded([&] { out(result) = copyText(controlOf(control).ElemAttribs(index)); });
}

int tamberline_ElemAttribs_put(TamberlineControl *control, int16_t index, const char *text)
{
    return guarded([&] { controlOf(control).setElemAttribs(index, fromUtf8(text)); });
}

int tamberline_ClearAttribs(TamberlineControl *control)
{
    return guarded([&] { controlOf(control).ClearAttribs(); });
}

int tamberline_NodeOffset_get(TamberlineControl *control, int32_t *result)
{
    return guarded([&] { out(result) = controlOf(control).NodeOffset(); });
}

int tamberline_NodeOffset_put(TamberlineControl *control, int32_t value)
{
    return guarded([&] { controlOf(control).setNodeOffset(value); });
}

int tamberline_EditProperties(TamberlineControl *control, int16_t *result)
{
    return guarded([&] {
        int16_t &answer = out(result);
        answer = toVBool(controlOf(control).EditProperties());
    });
}

int tamberline_EditQueryItem(TamberlineControl *control, int16_t *result)
{
    return guarded([&] {
        int16_t &answer = out(result);
        answer = toVBool(controlOf(control).EditQueryItem());
    });
}

int tamberline_EditWizard(TamberlineControl *control, int16_t *result)
{
    return guarded([&] {
        int16_t &answer = out(result);
        answer = toVBool(controlOf(control).EditWizard());
    });
}

int tamberline_invoke(TamberlineControl *control, int32_t dispid, int kind,
                      const TamberlineValue *args, int argCount, TamberlineValue *result)
{
    return guarded([&] {
        Tamberline &target = controlOf(control);
        if (argCount < 0 || (argCount > 0 && !args))
            throw RuntimeError(ErrorNumber::InvalidCall, QStringLiteral("The argument array is missing"));
        QVariantList arguments;
        for (int i = 0; i < argCount; ++i)
            arguments.append(toVariant(args[i]));
        const QVariant value = target.invoke(dispid, static_cast<DispatchKind>(kind), arguments);
        if (result)
            *result = fromVariant(value);
    });
}

int tamberline_last_error(char **result)
{
    if (!result)
        return ErrorNumber::InvalidCall;
    try {
        *result = copyUtf8(lastError);
        return 0;
    } catch (const std::bad_alloc &) {
        return OutOfMemory;
    }
}

void tamberline_free_string(char *text)
{
    std::free(text);
}

void tamberline_value_clear(TamberlineValue *value)
{
    if (!value)
        return;
    std::free(value->text);
    *value = {TAMBERLINE_EMPTY, 0, nullptr};
}

} // extern "C"
