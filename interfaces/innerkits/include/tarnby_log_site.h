#ifndef TARNBY_LOG_SITE_H
#define TARNBY_LOG_SITE_H

namespace OHOS::Tarnby {
// Where a line is logged from. A helper that logs on behalf of its caller takes a `LogSite site = LogSite::Here()`
// parameter: the default is filled in where the helper is called, so the line shows the caller's file, line and
// function. Public because a public class's helper takes one; the logging itself stays private to the library.
struct LogSite {
    const char *file;
    int line;
    const char *function;

    static constexpr LogSite Here(const char *file = __builtin_FILE(), int line = __builtin_LINE(),
                                  const char *function = __builtin_FUNCTION())
    {
        return LogSite{file, line, function};
    }
};
} // namespace OHOS::Tarnby

#endif // TARNBY_LOG_SITE_H
