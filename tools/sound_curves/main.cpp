// Measures the resampler and the level effects, and draws what docs/audio.md shows: sound_curves <folder>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <numbers>

#include "attributes/co_xml_node.h"
#include "audio/dynamics.h"
#include "audio/resampler.h"
#include "plot.h"

namespace zr::curves {
namespace {

using Sound = std::vector<float>;
using Points = std::vector<std::pair<double, double>>;

constexpr double kTurn = 2 * std::numbers::pi;

Sound Sine(double _dblHz, double _dblLevel, int32_t _nRate, size_t _n) {
    Sound sound(_n);
    for (size_t i = 0; i < _n; ++i)
        sound[i] =
            static_cast<float>(_dblLevel * std::sin(kTurn * std::fmod(_dblHz * static_cast<double>(i) / _nRate, 1)));
    return sound;
}

struct FIT {
    double dblTone, dblRest;  // mean squares of the tone in a sound, and of what is left
};

FIT Fit(const Sound& _sound, double _dblHz, int32_t _nRate) {
    double ss = 0, cc = 0, sc = 0, xs = 0, xc = 0;
    const size_t nFrom = 400, nTo = _sound.size();
    const auto Angle = [&](size_t i) { return kTurn * std::fmod(_dblHz * static_cast<double>(i) / _nRate, 1); };
    for (size_t i = nFrom; i < nTo; ++i) {
        const double s = std::sin(Angle(i)), c = std::cos(Angle(i)), x = double{_sound[i]};
        ss += s * s, cc += c * c, sc += s * c, xs += x * s, xc += x * c;
    }
    const double det = ss * cc - sc * sc, a = (xs * cc - xc * sc) / det, b = (xc * ss - xs * sc) / det;
    FIT fit{};
    for (size_t i = nFrom; i < nTo; ++i) {
        const double f = a * std::sin(Angle(i)) + b * std::cos(Angle(i)), r = double{_sound[i]} - f;
        fit.dblTone += f * f, fit.dblRest += r * r;
    }
    const auto n = static_cast<double>(nTo - nFrom);
    return {fit.dblTone / n, fit.dblRest / n};
}

Sound Resampled(int32_t _nFrom, int32_t _nTo, const Sound& _in) {
    IPPResampler32f resampler;
    resampler.Init(_nFrom, _nTo, IPPResampler32f::kTaps, static_cast<int32_t>(_in.size()));
    Sound out(resampler.MostFor(_in.size()));
    out.resize(resampler.Put(_in.data(), _in.size(), out.data()));
    return out;
}

Sound Resampled16(int32_t _nFrom, int32_t _nTo, const Sound& _in) {
    IPPResampler16s resampler;
    resampler.Init(_nFrom, _nTo, IPPResampler32f::kTaps, static_cast<int32_t>(_in.size()));
    std::vector<int16_t> in(_in.size()), out(resampler.MostFor(_in.size()));
    std::transform(_in.begin(), _in.end(), in.begin(),
                   [](float _f) { return static_cast<int16_t>(std::lrint(_f * 32767)); });
    out.resize(resampler.Put(in.data(), in.size(), out.data()));
    Sound sound(out.size());
    std::transform(out.begin(), out.end(), sound.begin(), [](int16_t _n) { return static_cast<float>(_n) / 32767; });
    return sound;
}

double Db(double _dblPower) { return 10 * std::log10(std::max(_dblPower, 1e-20)); }

// All power that comes out for a tone of each frequency; above half the output's rate it is alias.
Points Response(int32_t _nFrom, int32_t _nTo, double _dblFirst, double _dblLast, double _dblStep) {
    Points points;
    for (double f = _dblFirst; f <= _dblLast; f += _dblStep) {
        const Sound out = Resampled(_nFrom, _nTo, Sine(f, 0.5, _nFrom, static_cast<size_t>(_nFrom / 4)));
        double dblPower = 0;
        for (size_t i = 400; i < out.size(); ++i) dblPower += double{out[i]} * double{out[i]};
        points.emplace_back(f / 1000, Db(dblPower / static_cast<double>(out.size() - 400) / 0.125));
    }
    return points;
}

double WorstAbove(const Points& _points, double _dblKhz) {
    double dblWorst = -1000;
    for (const auto& [x, y] : _points)
        if (x >= _dblKhz) dblWorst = std::max(dblWorst, y);
    return dblWorst;
}

// For each pair of rates the same places, as parts of half the lower rate.
void TellResponse(int32_t _nFrom, int32_t _nTo) {
    const double dblEdge = std::min(_nFrom, _nTo) / 2.0;
    std::printf("%6d to %6d:", _nFrom, _nTo);
    for (const double dblPart : {0.5, 0.8, 0.85, 0.9, 0.95}) {
        const Points at = Response(_nFrom, _nTo, dblPart * dblEdge, dblPart * dblEdge, 1);
        std::printf(" %.2f: %.3f", dblPart, at[0].second);
    }
    if (_nFrom > _nTo) {
        const double dblLast = std::min(3 * dblEdge, _nFrom / 2.0 - 10);
        std::printf(" worst above 1.05: %.1f, above 1.06: %.1f",
                    WorstAbove(Response(_nFrom, _nTo, 1.05 * dblEdge, dblLast, dblEdge / 500), 0),
                    WorstAbove(Response(_nFrom, _nTo, 1.06 * dblEdge, dblLast, dblEdge / 500), 0));
    }
    std::printf(" dB\n");
}

bool PlotResponse(const std::string& _folder) {
    constexpr std::pair<int32_t, int32_t> arrRates[] = {{44100, 48000}, {48000, 44100},  {96000, 48000},
                                                        {48000, 16000}, {192000, 48000}, {48000, 8000}};
    for (const auto& [nFrom, nTo] : arrRates) TellResponse(nFrom, nTo);
    const Points down = Response(48000, 44100, 100, 23990, 61), up = Response(44100, 48000, 100, 22040, 61);
    PLOT plot{"What comes out for a tone", "kHz", "dB", 0, 24, -120, 0, 2, 20, {}};
    plot.arrCurves = {{"44.1 to 48 kHz", "#1668b0", up}, {"48 to 44.1 kHz", "#c2410c", down}};
    if (!WritePlot(_folder + "/resampler-response.svg", plot)) return false;
    plot.strTitle = "The same, near the edge";
    plot.dblLeft = 16, plot.dblRight = 22, plot.dblBottom = -3, plot.dblTop = 0.5;
    plot.dblStepAcross = plot.dblStepUp = 0.5;
    if (!WritePlot(_folder + "/resampler-passband.svg", plot)) return false;
    // Rates far apart, side by side on the scale of the output.
    PLOT far{"Rates far apart", "of half the output's rate", "dB", 0, 2, -120, 0, 0.2, 20, {}};
    const std::pair<std::pair<int32_t, int32_t>, const char*> arrFar[] = {{{96000, 48000}, "#1668b0"},
                                                                          {{48000, 16000}, "#c2410c"}};
    for (const auto& [rates, szColour] : arrFar) {
        const double dblEdge = rates.second / 2.0;
        Points points = Response(rates.first, rates.second, dblEdge / 100, 1.99 * dblEdge, dblEdge / 200);
        for (auto& [x, y] : points) x *= 1000 / dblEdge;
        const auto Khz = [](int32_t _n) { return std::to_string(_n / 1000); };
        far.arrCurves.push_back({Khz(rates.first) + " to " + Khz(rates.second) + " kHz", szColour, points});
    }
    return WritePlot(_folder + "/resampler-far.svg", far);
}

bool PlotNoise(const std::string& _folder) {
    const auto Noise = [](int32_t _nFrom, int32_t _nTo, auto _resampled) {
        Points points;
        for (double f = 100; f <= 20000; f += 199) {
            const FIT fit =
                Fit(_resampled(_nFrom, _nTo, Sine(f, 0.9, _nFrom, static_cast<size_t>(_nFrom / 2))), f, _nTo);
            points.emplace_back(f / 1000, Db(fit.dblRest / fit.dblTone));
        }
        return points;
    };
    const Points up = Noise(44100, 48000, Resampled), down = Noise(48000, 44100, Resampled),
                 part = Noise(48000, 48005, Resampled), up16 = Noise(44100, 48000, Resampled16);
    std::printf(
        "worst THD+N to 18 kHz, float 44.1 to 48: %.1f, 48 to 44.1: %.1f, 48 to 48.005: %.1f, 16 bits: %.1f dB\n",
        WorstAbove({up.begin(), up.begin() + 90}, 0), WorstAbove({down.begin(), down.begin() + 90}, 0),
        WorstAbove({part.begin(), part.begin() + 90}, 0), WorstAbove({up16.begin(), up16.begin() + 90}, 0));
    return WritePlot(_folder + "/resampler-noise.svg", {"Distortion and noise",
                                                        "kHz of the tone",
                                                        "dB below it",
                                                        0,
                                                        20,
                                                        -160,
                                                        -80,
                                                        2,
                                                        10,
                                                        {{"44.1 to 48", "#1668b0", up},
                                                         {"48 to 44.1", "#c2410c", down},
                                                         {"48 to 48.005", "#15803d", part},
                                                         {"44.1 to 48, 16 bits", "#7c3aed", up16}}});
}

template <class EFFECT>
Sound Through(EFFECT& _effect, Sound _sound, const std::vector<std::pair<const char16_t*, double>>& _arrKeys) {
    const XMLNodePtr pNode = CoXMLNode::Create(u"effect");
    for (const auto& [szName, dblValue] : _arrKeys) pNode->SetAttribute(szName, dblValue);
    _effect.ReadParameters(*pNode);
    constexpr ZR_AUD_PROPS kProps{1, 48000, -32, 0};
    for (size_t n = 0; n < _sound.size(); n += 1920)
        _effect.Process(kProps, reinterpret_cast<uint8_t*>(_sound.data() + n),
                        std::min<size_t>(1920, _sound.size() - n));
    return _sound;
}

bool PlotCompressor(const std::string& _folder) {
    using ZrAudioProcessor::CCompressor;
    PLOT plot{"Compressor, threshold -12 dB: a steady tone", "dB in", "dB out", -40, 0, -40, 0, 4, 4, {}};
    const std::pair<double, const char*> arrRatios[] = {{2, "#1668b0"}, {4, "#c2410c"}, {20, "#15803d"}};
    double dblFarthest = 0;
    for (const auto& [dblRatio, szColour] : arrRatios) {
        Points measured, formula;
        for (double dblIn = -40; dblIn <= 0; dblIn += 1) {
            const auto p = CCompressor::Make();
            Sound out = Through(*p, Sine(1000, std::pow(10, dblIn / 20), 48000, 96000), {{u"ratio", dblRatio}});
            out.erase(out.begin(), out.begin() + 48000);
            measured.emplace_back(dblIn, Db(2 * Fit(out, 1000, 48000).dblTone));
            formula.emplace_back(dblIn, dblIn > -12 ? -12 + (dblIn + 12) / dblRatio : dblIn);
            dblFarthest = std::max(dblFarthest, std::fabs(measured.back().second - formula.back().second));
        }
        const std::string strRatio = std::to_string(static_cast<int>(dblRatio)) + ":1";
        plot.arrCurves.push_back({strRatio, szColour, measured});
        plot.arrCurves.push_back({"", "#000", formula, true});
    }
    std::printf("compressor, farthest from the formula: %.4f dB\n", dblFarthest);

    // The gain that a tone of 12 dB above the threshold gets and leaves, against 90 % of the way in the times.
    const auto p = CCompressor::Make();
    Sound in = Sine(1000, 1, 48000, 96000);
    for (size_t i = 0; i < in.size(); ++i) in[i] *= i < 4800 || i >= 28800 ? 0.1f : 1.0f;
    const Sound out = Through(*p, in, {{u"ratio", 4}});
    Points measured, formula;
    double dblGain = 1, dblSum = 0;
    std::vector<double> squares(960);
    for (size_t i = 0; i < in.size(); ++i) {
        const double x = double{in[i]};
        dblSum += x * x - squares[i % 960];
        squares[i % 960] = x * x;
        const double e = std::sqrt(std::max(2 * dblSum / 960, 0.0)), t = std::pow(10, -12.0 / 20);
        const double c = 1 - std::exp(-std::log(10.0) / ((e > t ? 0.05 : 0.5) * 48000));
        dblGain += c * ((e > t ? std::pow(t / e, 0.75) : 1) - dblGain);
        if (i % 96 != 12) continue;  // at the crest
        measured.emplace_back(static_cast<double>(i) / 48000, 20 * std::log10(double{out[i]} / x));
        formula.emplace_back(static_cast<double>(i) / 48000, 20 * std::log10(dblGain));
    }
    if (!WritePlot(_folder + "/compressor-curve.svg", plot)) return false;
    plot = {"Compressor, ratio 4:1: 0 dB from 0.1 to 0.6 s, -20 dB else", "s", "gain, dB", 0, 2, -10, 0, 0.2, 2, {}};
    plot.arrCurves = {{"measured", "#1668b0", measured}, {"formula", "#000", formula, true}};
    return WritePlot(_folder + "/compressor-time.svg", plot);
}

bool PlotAmplifier(const std::string& _folder) {
    const auto p = ZrAudioProcessor::CDynamicAmplify::Make();
    Points measured, formula;
    double dblGain = 1;
    const std::vector<std::pair<const char16_t*, double>> arrKeys{{u"max_amplification", 8}};
    for (int nBlock = 0; nBlock < 25 * 12; ++nBlock) {
        const double dblLevel = nBlock < 150 ? 0.2 : 0.8;
        Through(*p, Sine(1000, dblLevel, 48000, 1920), arrKeys);
        const double dblWanted = std::min(1 / dblLevel, 8.0);
        const double dblTime = (dblWanted < dblGain ? 1.0 : 3.0) * 48000;
        dblGain += (dblWanted - dblGain) * 1920 / dblTime;
        measured.emplace_back(0.04 * (nBlock + 1), p->Gain());
        formula.emplace_back(0.04 * (nBlock + 1), dblGain);
    }
    return WritePlot(_folder + "/amplifier-time.svg",
                     {"Amplifier: peak 0.2, from 6 s on 0.8",
                      "s",
                      "gain",
                      0,
                      12,
                      0,
                      6,
                      1,
                      1,
                      {{"measured", "#1668b0", measured}, {"formula", "#000", formula, true}}});
}

}  // namespace
}  // namespace zr::curves

int main(int _nArgs, char** _arrArgs) {
    using namespace zr::curves;
    if (_nArgs != 2) return std::fprintf(stderr, "sound_curves <folder>: writes the plots of docs/audio.md\n"), 2;
    const std::string folder = _arrArgs[1];
    if (PlotResponse(folder) && PlotNoise(folder) && PlotCompressor(folder) && PlotAmplifier(folder)) return 0;
    return std::fprintf(stderr, "sound_curves: cannot write to %s\n", folder.c_str()), 1;
}
