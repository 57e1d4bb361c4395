#include "apps/zrmix/show_script.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>

#include "apps/zrmix/nearest_name.h"

namespace zrmix {
namespace {

// What a line of a command has behind it.
struct FORM {
    const char* szName;
    eShowCommand eCommand;
    const char* szTarget;    // null: none
    const char* szArgument;  // null: none
    const char* szNumber;    // the argument is one of this kind; null: it is none
    bool bAttributes;
    bool bTime;  // it can take a time
    const char* szExample;
};

constexpr FORM arrForms[] = {
    {"scene", eShowCommand::Scene, "a scene", nullptr, nullptr, true, false, "scene interview"},
    {"set", eShowCommand::Set, "an element", nullptr, nullptr, true, true, "set logo alpha=0 time=0.5"},
    {"add", eShowCommand::Add, "an element", "its type", nullptr, true, true, "add guest video stream_id=cam2 w=0.4"},
    {"remove", eShowCommand::Remove, "an element", nullptr, nullptr, false, true, "remove guest time=0.5"},
    {"order", eShowCommand::Order, "an element", "a number of places", "whole number", false, false, "order logo 1"},
    {"invoke", eShowCommand::Invoke, "a view or an element", nullptr, nullptr, false, true, "invoke close time=1"},
    {"gain", eShowCommand::Gain, "a stream", "a gain in dB", "number", false, true, "gain cam1 -6 time=1"},
    {"mute", eShowCommand::Mute, "a stream", nullptr, nullptr, false, true, "mute cam1 time=0.2"},
    {"unmute", eShowCommand::Unmute, "a stream", nullptr, nullptr, false, true, "unmute cam1 time=0.2"},
    {"play", eShowCommand::Play, "a stream", nullptr, nullptr, false, false, "play clip"},
    {"pause", eShowCommand::Pause, "a stream", nullptr, nullptr, false, true, "pause clip"},
    {"stop", eShowCommand::Stop, "a stream", nullptr, nullptr, false, true, "stop clip"},
    {"seek", eShowCommand::Seek, "a stream", "a second", "number from 0", false, false, "seek clip 12.5"},
    {"rate", eShowCommand::Rate, "a stream", "a speed", "number above 0", false, false, "rate clip 0.5"},
    {"source", eShowCommand::Source, "a stream", "what it plays", nullptr, true, false, "source cam1 other.mp4"},
    {"key", eShowCommand::Key, "a key of the mixer", "its value", nullptr, false, false, "key audio_gain -6"},
    {"quit", eShowCommand::Quit, nullptr, nullptr, nullptr, false, false, "quit"},
};

bool IsBlank(char _ch) { return _ch == ' ' || _ch == '\t' || _ch == '\r'; }

std::optional<double> Number(const std::string& _text) {
    char* pEnd = nullptr;
    if (_text.empty() || IsBlank(_text[0]) || _text.find_first_of("xXpPnN") != _text.npos) return {};
    const double dbl = std::strtod(_text.c_str(), &pEnd);
    if (pEnd != _text.c_str() + _text.size() || !std::isfinite(dbl)) return {};
    return dbl;
}

bool IsInRange(eShowCommand _eCommand, double _dbl) {
    switch (_eCommand) {
        case eShowCommand::Order: return _dbl == std::round(_dbl);
        case eShowCommand::Seek: return _dbl >= 0;
        case eShowCommand::Rate: return _dbl > 0;
        default: return true;
    }
}

// "2.5", "1:02.5", "1:00:00"
std::optional<double> Seconds(std::string_view _text) {
    double dblSeconds = 0;
    for (int nParts = 1;; ++nParts) {
        const size_t nColon = _text.find(':');
        const std::string part(_text.substr(0, nColon));
        const std::optional<double> number = Number(part);
        const bool bLast = nColon == _text.npos;
        if (!number || part[0] == '-' || part[0] == '+' || nParts > 3) return {};
        if (!bLast && part.find('.') != part.npos) return {};
        if (nParts > 1 && *number >= 60) return {};
        dblSeconds = dblSeconds * 60 + *number;
        if (bLast) break;
        _text.remove_prefix(nColon + 1);
    }
    if (dblSeconds > kMostSeconds) return {};
    return dblSeconds;
}

// One word of a line; of "name=value" the name apart.
struct WORD {
    std::string name;  // empty: it has no "="
    std::string value;
    bool bQuoted = false;
};

class Line {
public:
    explicit Line(std::string_view _text) : text(_text) {}

    // False: there is no other word, or something is wrong with it; see Why.
    bool Next(WORD& _word) {
        _word = {};
        while (!text.empty() && IsBlank(text[0])) text.remove_prefix(1);
        if (text.empty() || text[0] == '#') return false;
        std::string part;
        while (!text.empty() && !IsBlank(text[0])) {
            if (text[0] == '"' || text[0] == '\'') {
                const size_t nEnd = text.find(text[0], 1);
                if (nEnd == text.npos) {
                    why = "a quote is not closed";
                    return false;
                }
                part += text.substr(1, nEnd - 1);
                _word.bQuoted = true;
                text.remove_prefix(nEnd + 1);
                continue;
            }
            if (text[0] == '=' && _word.name.empty() && !part.empty() && !_word.bQuoted)
                _word.name = std::exchange(part, {});
            else
                part += text[0];
            text.remove_prefix(1);
        }
        _word.value = std::move(part);
        return true;
    }
    const std::string& Why() const { return why; }

private:
    std::string_view text;
    std::string why;
};

class Reader {
public:
    SHOW_SCRIPT Read(std::string_view _text) {
        if (_text.starts_with("\xEF\xBB\xBF")) _text.remove_prefix(3);
        while (!_text.empty()) {
            ++nLine;
            const size_t nEnd = std::min(_text.find('\n'), _text.size());
            ReadLine(_text.substr(0, nEnd));
            _text.remove_prefix(std::min(nEnd + 1, _text.size()));
        }
        std::stable_sort(script.arrCommands.begin(), script.arrCommands.end(),
                         [](const auto& _a, const auto& _b) { return _a.dblTime < _b.dblTime; });
        return std::move(script);
    }

private:
    bool Fault(std::string _text) {
        script.arrFaults.push_back({nLine, std::move(_text)});
        return false;
    }

    void ReadLine(std::string_view _text) {
        if (_text.find('\0') != _text.npos) {
            Fault("a zero stands in the line");
            return;
        }
        Line line(_text);
        WORD word;
        if (!line.Next(word)) {
            if (!line.Why().empty()) Fault(line.Why());
            return;
        }
        SCRIPT_COMMAND command;
        command.nLine = nLine;
        if (!ReadTime(word, command.dblTime)) return;
        if (!line.Next(word) || !word.name.empty()) {
            Fault(line.Why().empty() ? "a command is missing behind the time" : line.Why());
            return;
        }
        const FORM* const pForm = std::find_if(std::begin(arrForms), std::end(arrForms),
                                               [&](const FORM& _f) { return word.value == _f.szName; });
        if (pForm == std::end(arrForms)) {
            std::vector<std::string> arrNames;
            for (const FORM& form : arrForms) arrNames.emplace_back(form.szName);
            Fault("there is no command " + word.value + DidYouMean(word.value, arrNames));
            return;
        }
        command.eCommand = pForm->eCommand;
        if (ReadRest(line, *pForm, command)) script.arrCommands.push_back(std::move(command));
    }

    bool ReadTime(const WORD& _word, double& _dblTime) {
        const bool bStep = _word.value.starts_with('+');
        const std::optional<double> seconds = Seconds(std::string_view(_word.value).substr(bStep ? 1 : 0));
        if (!_word.name.empty() || !seconds || (bStep ? dblLast : 0) + *seconds > kMostSeconds)
            return Fault("\"" + _word.name + (_word.name.empty() ? "" : "=") + _word.value +
                         "\" is no time: seconds as in 2.5, 1:02.5, or +1.5 from the line before");
        _dblTime = dblLast = (bStep ? dblLast : 0) + *seconds;
        return true;
    }

    bool ReadRest(Line& _line, const FORM& _form, SCRIPT_COMMAND& _command) {
        const auto Missing = [&](const std::string& _what) {
            if (!_line.Why().empty()) return Fault(_line.Why());
            return Fault(std::string(_form.szName) + " needs " + _what + ", as in \"" + _form.szExample + "\"");
        };
        WORD word;
        if (_form.szTarget) {
            if (!_line.Next(word) || !word.name.empty() || word.value.empty()) return Missing(_form.szTarget);
            _command.target = std::move(word.value);
        }
        if (_form.szArgument) {
            if (!_line.Next(word)) return Missing(_form.szArgument);
            // A value and a path may have a "=" in them; the only word that is known here is the time.
            if (!word.name.empty()) word.value = word.name + "=" + word.value;
            _command.argument = std::move(word.value);
            const std::optional<double> number = Number(_command.argument);
            if (_form.szNumber && !(number && IsInRange(_form.eCommand, *number)))
                return Fault("\"" + _command.argument + "\" is no " + _form.szNumber + ": " + _form.szName + " needs " +
                             _form.szArgument + ", as in \"" + _form.szExample + "\"");
            _command.dblArgument = number.value_or(0);
        }
        while (_line.Next(word))
            if (!ReadAttribute(word, _form, _command)) return false;
        if (!_line.Why().empty()) return Fault(_line.Why());
        if (_command.eCommand == eShowCommand::Set && _command.arrAttributes.empty()) return Missing("what to set");
        return true;
    }

    bool ReadAttribute(const WORD& _word, const FORM& _form, SCRIPT_COMMAND& _command) {
        if (_word.name == "time" && _form.bTime) {
            const std::optional<double> seconds = Seconds(_word.value);
            if (!seconds) return Fault("time=" + _word.value + ": no number of seconds");
            _command.dblChange = *seconds;
            return true;
        }
        if (_word.name == "time" && _form.eCommand == eShowCommand::Source)
            return Fault("source takes no time: what a stream plays changes at once");
        if (_word.name.empty() || !_form.bAttributes)
            return Fault("\"" + _word.name + (_word.name.empty() ? "" : "=") + _word.value +
                         "\" does not belong there: " + _form.szName + " is written as in \"" + _form.szExample + "\"");
        if (_word.value.find('"') != std::string::npos && _word.value.find('\'') != std::string::npos)
            return Fault(_word.name + ": a value has quotes of one kind at most");
        _command.arrAttributes.emplace_back(_word.name, _word.value);
        return true;
    }

    SHOW_SCRIPT script;
    int nLine = 0;
    double dblLast = 0;
};

}  // namespace

std::string SCRIPT_COMMAND::Line() const {
    std::string line;
    for (const auto& [name, value] : arrAttributes) {
        const char cQuote = value.find('"') == std::string::npos ? '"' : '\'';
        line += (line.empty() ? "" : " ") + name + "=" + cQuote + value + cQuote;
    }
    return line;
}

double SHOW_SCRIPT::QuitTime() const {
    for (const SCRIPT_COMMAND& command : arrCommands)
        if (command.eCommand == eShowCommand::Quit) return command.dblTime;
    return -1;
}

SHOW_SCRIPT ReadScript(std::string_view _text) { return Reader().Read(_text); }

}  // namespace zrmix
