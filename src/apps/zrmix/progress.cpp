#include "apps/zrmix/progress.h"

#include <cmath>
#include <cstdio>
#include <filesystem>

#include "apps/zrmix/sound_options.h"

namespace zrmix {
namespace {

constexpr double kTerminalPeriod = 0.25;  // seconds between two looks
constexpr double kPlainPeriod = 5.0;

bool ErrorIsTerminal() {
    std::error_code code;
    const auto target = std::filesystem::read_symlink("/proc/self/fd/2", code);
    const std::string name = code ? std::string() : target.string();
    return name.starts_with("/dev/pts/") || name.starts_with("/dev/tty");
}

// "0:01:02.34"
std::string TimeText(double _dblSeconds) {
    const auto nHundredths = static_cast<int64_t>(std::llround(_dblSeconds * 100));
    char sz[48];
    std::snprintf(sz, sizeof(sz), "%lld:%02lld:%02lld.%02lld", static_cast<long long>(nHundredths / 360000),
                  static_cast<long long>(nHundredths / 6000 % 60), static_cast<long long>(nHundredths / 100 % 60),
                  static_cast<long long>(nHundredths % 100));
    return sz;
}

}  // namespace

std::string JsonText(const std::string& _text) {
    std::string out = "\"";
    for (const char c : _text) {
        if (c == '"' || c == '\\') out += '\\';
        if (static_cast<unsigned char>(c) < 0x20) {
            char sz[8];
            std::snprintf(sz, sizeof(sz), "\\u%04x", static_cast<unsigned>(c));
            out += sz;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

Progress::Progress(const OUTPUT_STYLE& _style) : style(_style), bTerminal(ErrorIsTerminal()) {}

double Progress::Elapsed() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - tStart).count();
}

void Progress::Measure() {
    if (pMeter) pMeter->Read();
}

void Progress::Show(const RUN_FIGURES& _figures, double _dblTotalSeconds) {
    Measure();
    if (style.bQuiet) return;
    const double dblNow = Elapsed();
    if (dblShown >= 0 && dblNow - dblShown < (bTerminal ? kTerminalPeriod : kPlainPeriod)) return;
    dblShown = dblNow;
    const double dblFps = dblNow > 0 ? static_cast<double>(_figures.nFrames) / dblNow : 0;
    std::string line = TimeText(_figures.dblMediaSeconds);
    if (_dblTotalSeconds > 0) line += " of " + TimeText(_dblTotalSeconds);
    char sz[128];
    std::snprintf(sz, sizeof(sz), "  frames %lld  fps %.1f  speed %.2fx  drops %lld",
                  static_cast<long long>(_figures.nFrames), dblFps, dblNow > 0 ? _figures.dblMediaSeconds / dblNow : 0,
                  static_cast<long long>(_figures.nDropped));
    line += sz;
    if (pMeter && bTerminal) line += pMeter->Line();
    std::fprintf(stderr, bTerminal ? "\r\033[K%s" : "%s\n", line.c_str());
    bLineOpen = bTerminal;
}

void Progress::Summary(const RUN_FIGURES& _figures, const std::string& _output) {
    if (bLineOpen) std::fprintf(stderr, "\r\033[K");
    const double dblNow = Elapsed();
    const double dblSpeed = dblNow > 0 ? _figures.dblMediaSeconds / dblNow : 0;
    if (style.bJson) {
        std::printf(
            "{\"output\": %s, \"frames\": %lld, \"drops\": %lld, \"seconds\": %.6f, \"rate\": %.6f, "
            "\"elapsed\": %.3f, \"speed\": %.3f%s}\n",
            JsonText(_output).c_str(), static_cast<long long>(_figures.nFrames),
            static_cast<long long>(_figures.nDropped), _figures.dblMediaSeconds, _figures.dblRate, dblNow, dblSpeed,
            pMeter ? (", \"audio\": " + pMeter->Json()).c_str() : "");
        return;
    }
    if (style.bQuiet) return;
    std::fprintf(stderr, "%s: %lld frames, %s at %.3f frames/s, in %.1f s (%.2fx), %lld dropped\n", _output.c_str(),
                 static_cast<long long>(_figures.nFrames), TimeText(_figures.dblMediaSeconds).c_str(), _figures.dblRate,
                 dblNow, dblSpeed, static_cast<long long>(_figures.nDropped));
}

}  // namespace zrmix
