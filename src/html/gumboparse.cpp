#include "gumboparse.h"

#include <csetjmp>
#include <cstdio>

namespace {
thread_local std::jmp_buf *t_recovery = nullptr;
thread_local char t_failure[512];
} // namespace

extern "C" {
[[noreturn]] void __real___assert_fail(const char *assertion, const char *file, unsigned int line,
                                       const char *function);

// Every call to __assert_fail linked into this library lands here (-Wl,--wrap=__assert_fail);
// outside runGumbo it does what the C library does.
[[noreturn]] __attribute__((visibility("hidden"))) void __wrap___assert_fail(const char *assertion, const char *file, unsigned int line,
                                       const char *function)
{
    if (std::jmp_buf *recovery = t_recovery) {
        std::snprintf(t_failure, sizeof t_failure, "%s:%u: %s", file, line, assertion);
        std::longjmp(*recovery, 1);
    }
    __real___assert_fail(assertion, file, line, function);
}
}

namespace {
// Nothing with a destructor lives in the frames the jump leaves.
GumboOutput *parseWithRecovery(const GumboOptions *options, const char *data, size_t size)
{
    std::jmp_buf recovery;
    std::jmp_buf *const previous = t_recovery;
    if (setjmp(recovery)) {
        t_recovery = previous;
        return nullptr;
    }
    t_recovery = &recovery;
    GumboOutput *output = gumbo_parse_with_options(options, data, size);
    t_recovery = previous;
    return output;
}
} // namespace

GumboOutput *runGumbo(const GumboOptions &options, QByteArrayView input, QString *failure)
{
    GumboOutput *output = parseWithRecovery(&options, input.data(), size_t(input.size()));
    if (!output && failure)
        *failure = QString::fromUtf8(t_failure);
    return output;
}
