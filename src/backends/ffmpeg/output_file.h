#pragma once
// A file that a muxer writes, which can still be ended properly when the disk is full.

#include <cstdint>
#include <string>

#include "backends/ffmpeg/av_ptr.h"
#include "platform/file.h"
#include "platform/status.h"

namespace zr {

// Many kinds of files are worth nothing without what their muxer writes last: the index of an MP4 stands at its end. So
// the file always holds as much of the disk, behind what was written, as the end will need, and says that the disk is
// full while there is still that much room. The alternative, MP4 in fragments, can be played up to any point, but is
// larger, and many editors and players cannot seek in it or do not take it. On file systems that reserve nothing a full
// disk may still spoil the end. One thread at a time.
class OutputFile {
public:
    OutputFile() = default;
    ~OutputFile() { Close(); }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Makes the file or empties it. Results of File::Open.
    HRESULT Open(const std::string& _strPath);
    // The context to write through, null when nothing is open.
    AVIOContext* Context() const { return pContext; }
    // Room for the end of the file, in bytes; before and while it is written.
    void SetEndBytes(int64_t _cb) { cbEnd = _cb; }
    // The room for the end is all that is left.
    bool IsFull() const { return bFull; }
    // The first failure to write, a negative error number of the libraries, or 0.
    int Failure() const { return nFailure; }
    int64_t Bytes() const { return nSize; }
    // Writes what is buffered. A failure is that of the whole file.
    int Close();

private:
    static int Write(void* _pThis, uint8_t* _pData, int _cb);
    static int64_t Seek(void* _pThis, int64_t _nOffset, int _nWhence);
    void KeepRoom(int64_t _nUpTo);

    File file;
    AVIOContext* pContext = nullptr;
    int64_t nPosition = 0;
    int64_t nSize = 0;
    int64_t nReserved = 0;  // the disk's room is ours up to here
    int64_t cbEnd = 0;
    bool bReserves = true;  // the file system can
    bool bFull = false;
    int nFailure = 0;
};

}  // namespace zr
