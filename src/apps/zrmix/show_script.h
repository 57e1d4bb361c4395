#pragma once
// The script of a show: commands with the times at which they are done.
//
//   # seconds, or minutes and seconds, or a step from the line before; then the command
//   2.0   scene interview
//   3.5   set logo alpha=0 time=0.5
//   +1    gain guest -6 time=2
//   1:30  quit

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zrmix {

inline constexpr double kMostSeconds = 1e6;  // of a show: eleven days

enum class eShowCommand {
    Scene,   // target becomes the active scene
    Set,     // attributes of an element
    Add,     // an element, with its type as argument
    Remove,  // an element
    Order,   // an element, by that many places among its siblings
    Invoke,  // a view, or the selection of an element
    Gain,    // of a stream, in dB
    Mute,
    Unmute,
    Play,
    Pause,
    Stop,
    Seek,    // a stream, to that second
    Rate,    // of a stream
    Source,  // what a stream plays from now on
    Key,     // of the mixer
    Quit,
};

struct SCRIPT_COMMAND {
    double dblTime = 0;  // seconds
    eShowCommand eCommand = eShowCommand::Quit;
    std::string target;
    std::string argument;
    double dblArgument = 0;  // as a number, where it is one
    std::vector<std::pair<std::string, std::string>> arrAttributes;
    double dblChange = 0;  // seconds that it takes
    int nLine = 0;

    // The attributes as the library takes them: name="value".
    std::string Line() const;
};

struct SCRIPT_FAULT {
    int nLine = 0;
    std::string text;
};

struct SHOW_SCRIPT {
    std::vector<SCRIPT_COMMAND> arrCommands;  // by time; of one time as they stand in the text
    std::vector<SCRIPT_FAULT> arrFaults;
    // When the first "quit" is; below 0: never.
    double QuitTime() const;
};

// Any bytes.
SHOW_SCRIPT ReadScript(std::string_view _text);

}  // namespace zrmix
