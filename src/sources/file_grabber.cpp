#include "sources/file_grabber.h"

#include <string>

#include "platform/clock.h"

namespace zr {

HRESULT FileGrabber::Get(const FILE_REQUEST& _request, double _dblPos, double _dblPreroll, ZrPtr<IZrFFrame>* _ppFrame) {
    MutexLock lock(mtx);
    if (pPlayer && (pPlayer->Request().strFile != _request.strFile || pPlayer->Request().strParam != _request.strParam))
        pPlayer.reset();
    HRESULT hr = S_OK;
    if (!pPlayer) {
        pPlayer = std::make_unique<FilePlayer>();
        std::u16string strError;
        hr = pPlayer->Open(_request, &strError);
    }
    pPlayer->WantedSet(_request.wanted);
    if (Succeeded(hr)) hr = pPlayer->Seek(_dblPos, _dblPreroll);
    ZrPtr<IZrFFrame> pFrame;
    bool bLooped = false;
    if (Succeeded(hr)) hr = pPlayer->Next({}, 5 * kTicksPerSecond, &pFrame, &bLooped);
    if (Failed(hr)) {
        pPlayer.reset();
        return hr;
    }
    return pFrame->ZrFClone(_ppFrame->Out(), eZrFC_VideoRef, eZrFCC_Default);
}

void FileGrabber::Close() {
    MutexLock lock(mtx);
    pPlayer.reset();
}

}  // namespace zr
