#pragma once
// Another process, for tests of what its end does to this one.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>

namespace zr {

// Does nothing until it is killed.
class IdleProcess {
public:
    IdleProcess() {
        while (idChild == 0) pause();
    }
    ~IdleProcess() { Reap(); }
    IdleProcess(const IdleProcess&) = delete;
    IdleProcess& operator=(const IdleProcess&) = delete;
    uint32_t Id() const { return static_cast<uint32_t>(idChild); }
    // Still known to the system afterwards, until it is reaped.
    void Kill() const {
        if (idChild > 0) kill(idChild, SIGKILL);
    }
    void Reap() {
        Kill();
        if (idChild > 0) waitpid(idChild, nullptr, 0);
        idChild = -1;
    }

private:
    pid_t idChild = fork();
};

}  // namespace zr
