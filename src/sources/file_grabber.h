#pragma once
// Single frames of a file, read apart from its playing.

#include <memory>

#include "platform/lock.h"
#include "sources/file_player.h"

namespace zr {

// Any thread. The file stays open for the next frame of it.
class FileGrabber {
public:
    // The picture that is shown at _dblPos seconds, without sound. The results are those of opening, positioning and
    // reading. Win32Error(1100): the file ends before.
    HRESULT Get(const FILE_REQUEST& _request, double _dblPos, double _dblPreroll, ZrPtr<IZrFFrame>* _ppFrame);
    void Close();

private:
    // Serialises the calls; a worker is asked by one thread at a time.
    Mutex mtx;
    std::unique_ptr<FilePlayer> pPlayer ZR_GUARDED_BY(mtx);
};

}  // namespace zr
