#include "apps/zrmix/frame_watch.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>

namespace zrmix {
namespace {

double Now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

}  // namespace

std::string LATENESS::Text() const {
    std::string text;
    char sz[64];
    for (size_t i = 0; i < std::size(arrCounts); ++i) {
        if (arrCounts[i] == 0) continue;
        if (i < std::size(kLimitsMs)) {
            std::snprintf(sz, sizeof(sz), "under %g ms %lld", kLimitsMs[i], static_cast<long long>(arrCounts[i]));
        } else {
            std::snprintf(sz, sizeof(sz), "later %lld", static_cast<long long>(arrCounts[i]));
        }
        text += (text.empty() ? "" : ", ") + std::string(sz);
    }
    return text;
}

FrameWatch::~FrameWatch() {
    if (llReader != 0) pSource->SourceFrameGetEx(&llReader, 0, nullptr, -1);
}

bool FrameWatch::Next() {
    zr::ZrPtr<zr::IZrFrame> pFrame;
    if (zr::Failed(pSource->SourceFrameGetEx(&llReader, -1, pFrame.Out(), 0)) || !pFrame) return false;
    const double dblNow = Now();
    zr::ZR_TIME time;
    pFrame->FrameTimeGet(&time);
    if (figures.nFrames == 0) {
        dblFirst = dblNow;
    } else {
        if (time.eFFlags & zr::eZrFF_Break) ++figures.nBreaks;
        const double dblDue = dblFirst + static_cast<double>(figures.nFrames) / dblRate;
        const double dblLateMs = (dblNow - dblDue) * 1000;
        const auto pLimit = std::find_if(std::begin(LATENESS::kLimitsMs), std::end(LATENESS::kLimitsMs),
                                         [&](double _dblLimit) { return dblLateMs < _dblLimit; });
        ++figures.arrCounts[pLimit - std::begin(LATENESS::kLimitsMs)];
        figures.dblWorstMs = std::max(figures.dblWorstMs, dblLateMs);
        figures.dblMeanRate = static_cast<double>(figures.nFrames) / (dblNow - dblFirst);
    }
    ++figures.nFrames;
    return true;
}

}  // namespace zrmix
