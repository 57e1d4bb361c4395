#include "platform/trace.h"

#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "platform/clock.h"
#include "platform/thread.h"
#include "platform/wait_engine.h"

namespace zr {

namespace {

constexpr size_t kMaxLine = 500;
constexpr std::string_view svSeparators = ", ;\t";

constinit char arrLabels[1024] = "";  // written while nobody traces

// Reads the environment when the library is loaded.
[[maybe_unused]] const bool bFromEnvironment = (SetTraceLabels(std::getenv("ZR_TRACE")), true);

bool IsLabelOn(std::string_view _svLabel) {
    std::string_view svRest = arrLabels;
    while (!svRest.empty()) {
        const std::string_view svPrefix = svRest.substr(0, svRest.find_first_of(svSeparators));
        svRest.remove_prefix(std::min(svPrefix.size() + 1, svRest.size()));
        if (svPrefix == "*" || (!svPrefix.empty() && _svLabel.starts_with(svPrefix))) return true;
    }
    return false;
}

// One line in one write, so that the lines of several threads do not mix.
class Line {
public:
    Line() {
        const int64_t rt = WallNow();
        const int64_t nSecond = rt / kTicksPerSecond;
        Append("%02d:%02d:%02d.%06dZ [%s%s%u] ", static_cast<int>(nSecond / 3600 % 24),
               static_cast<int>(nSecond / 60 % 60), static_cast<int>(nSecond % 60),
               static_cast<int>(rt % kTicksPerSecond / 10), WaitEngine::Self().szName,
               WaitEngine::Self().szName[0] ? " " : "", CurrentThreadId());
    }
    __attribute__((format(printf, 2, 3))) void Append(const char* _szFormat, ...) {
        va_list arguments;
        va_start(arguments, _szFormat);
        AppendList(_szFormat, arguments);
        va_end(arguments);
    }
    __attribute__((format(printf, 2, 0))) void AppendList(const char* _szFormat, va_list _arguments) {
        const int n = std::vsnprintf(arrText + nUsed, kMaxLine - nUsed, _szFormat, _arguments);
        if (n > 0) nUsed = std::min(nUsed + static_cast<size_t>(n), kMaxLine - 1);
    }
    void Write() {
        std::replace(arrText, arrText + nUsed, '\n', ' ');
        arrText[nUsed] = '\n';
        [[maybe_unused]] const ssize_t n = write(STDERR_FILENO, arrText, nUsed + 1);
    }

private:
    char arrText[kMaxLine];
    size_t nUsed = 0;
};

}  // namespace

void SetTraceLabels(const char* _szLabels) {
    std::strncpy(arrLabels, _szLabels ? _szLabels : "", sizeof arrLabels - 1);
    detail::bTraceOn.store(std::string_view(arrLabels).find_first_not_of(svSeparators) != std::string_view::npos);
}

void TraceMessage(const char* _szLabel, const char* _szFormat, ...) {
    if (!IsLabelOn(_szLabel)) return;
    Line line;
    line.Append("%s: ", _szLabel);
    va_list arguments;
    va_start(arguments, _szFormat);
    line.AppendList(_szFormat, arguments);
    va_end(arguments);
    line.Write();
}

void TraceScope::Begin(const char* _szLabel) {
    if (!IsLabelOn(_szLabel)) return;
    szLabel = _szLabel;
    rtBegin = ClockNow();
}

void TraceScope::End() {
    const double dblMs = static_cast<double>(ClockNow() - rtBegin) / kTicksPerMs;
    Line line;
    line.Append("%s %.3f ms", szLabel, dblMs);
    line.Write();
}

}  // namespace zr
