#pragma once
// Plays one picture as if it were a file: a built-in one, or one from a picture file.

#include <atomic>
#include <string>

#include "framework/time_normaliser.h"
#include "media/av_format.h"
#include "media/file_worker.h"
#include "platform/lock.h"
#include "platform/unknown.h"
#include "sources/built_in_picture.h"
#include "sources/test_tone.h"

namespace zr {

// Whether a name is that of a built-in picture or ends like that of a picture file.
bool IsPictureName(const char16_t* _szName);

// The picture is made once; every frame is a reference to it, so that whoever scales it needs to do so only once. A
// built-in picture has the format that is wanted, a picture file its own. Never waits.
class PictureSource final : public UnknownImpl<IZrFileWorker_I> {
public:
    PictureSource() = default;

    // What is wanted, before opening or between two frames: parts that are 0 are left to the picture. Channels: silence
    // or the tone in step with the picture; none without.
    void FormatSet(const AV_FORMAT& _wanted);

    HRESULT WorkerCheck(IUnknown* _pSender, int32_t* _pbFlag) override;
    HRESULT WorkerRelease() override { return S_OK; }
    HRESULT WorkerReset() override;
    HRESULT WorkerClose() override;
    // _bsParam: "img.default_duration", seconds that the picture lasts (3600); "img.tone" and "img.tone_level", see
    // TEST_TONE; "img.scale": a picture file takes the wanted size too.
    HRESULT WorkerOpen(const char16_t* _bsFile, const char16_t* _bsParam, int64_t _rtMaxWait) override;
    HRESULT WorkerInfoGet(ZR_FILE_INFO* _pInfo, BSTR* _pbsInfo) override;
    HRESULT WorkerFrameGet(int64_t _rtMaxWait, IZrFFrame** _ppFrame) override;
    HRESULT WorkerSeek(double _dblPos, double _dblPreroll) override;
    HRESULT WorkerErrorGet(BSTR* _pbsError) override;

private:
    HRESULT MakePicture();
    HRESULT Scale(ZrPtr<IZrFFrame>* _ppFrame) const;
    HRESULT AddSound(IZrFFrame* _pFrame, Thirds _nEnd);
    HRESULT Fail(HRESULT _hr, const char16_t* _szWhy);
    void SetRate(double _dblRate);

    // One thread at a time, as the interface says.
    std::u16string strFile;
    bool bBuiltIn = false;
    BuiltInPicture builtIn;
    TEST_TONE tone;
    bool bScale = false;
    AV_FORMAT wanted;
    ZR_VID_PROPS vidProps;  // of the picture
    Thirds nPeriod = 0;
    double dblRate = 0;
    Thirds nDuration = 0;
    Thirds nStart = 0;  // of the next frame
    bool bBreak = true;

    std::atomic<bool> bOpen{false};
    std::atomic<bool> bMoved{false};
    mutable Mutex mtx;
    ZrPtr<IZrFFrame> pPicture ZR_GUARDED_BY(mtx);  // dropped by a close from any thread
    std::u16string strError ZR_GUARDED_BY(mtx);
};

}  // namespace zr
