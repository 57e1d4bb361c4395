#pragma once

namespace zr {

// Does nothing; a program that is linked with the static form of the library and calls it has the backend's classes.
void LinkFFmpegBackend();

}  // namespace zr
