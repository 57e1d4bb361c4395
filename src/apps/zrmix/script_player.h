#pragma once
// Does what the script of a show says, each command on the frame of its time.

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "apps/zrmix/show.h"
#include "apps/zrmix/show_script.h"

namespace zrmix {

class ScriptPlayer {
public:
    // Reads the file and compares it with the show. Throws RunError with all that is wrong, a line each.
    ScriptPlayer(const Show& _show, const std::string& _file);
    // Closes a mixer that it was started with.
    ~ScriptPlayer();
    ScriptPlayer(const ScriptPlayer&) = delete;
    ScriptPlayer& operator=(const ScriptPlayer&) = delete;

    // Before the mixer starts.
    void Start();
    // Before it is closed: a command that waits for the close would never come back.
    void Stop();
    // Seconds to the command that ends the run; below 0: there is none.
    double QuitTime() const { return script.QuitTime(); }
    // Commands that failed; each has said so.
    int Failures();

private:
    static zr::HRESULT OnEvent(int64_t _llUser, const char16_t*, const char16_t* _szEvent, const char16_t* _szParam,
                               zr::IUnknown*);
    void OnFrame(int64_t _nFrame);
    std::vector<SCRIPT_FAULT> Compare() const;
    zr::HRESULT Do(const SCRIPT_COMMAND& _command) const;
    zr::HRESULT DoElement(const SCRIPT_COMMAND& _command) const;
    zr::HRESULT DoStream(const SCRIPT_COMMAND& _command) const;
    zr::HRESULT Add(const SCRIPT_COMMAND& _command) const;

    const Show& show;
    const std::string file;
    const SHOW_SCRIPT script;
    bool bStarted = false;
    std::mutex mtx;  // guards what follows; held while commands are done, on the mix thread
    bool bRunning = false;
    size_t nNext = 0;  // command
    int nFailures = 0;
};

}  // namespace zrmix
