#pragma once
// The formats of one object: what it is asked to give, and what it gives.

#include "media/av_format.h"
#include "platform/lock.h"
#include "zr/format.h"
#include "zr/records.h"

namespace zr {

// The operations are those of IZrFormat with their results. Any thread.
class ObjectFormat {
public:
    HRESULT VideoGetCount(int32_t* _pnCount) const;
    HRESULT VideoGetByIndex(int32_t _nIndex, ZR_VID_PROPS* _pVidProps, BSTR* _pbsName) const;
    HRESULT VideoSet(eZrFormatType _eFormatType, const ZR_VID_PROPS* _pVidProps);
    HRESULT VideoGet(eZrFormatType _eFormatType, ZR_VID_PROPS* _pVidProps, int32_t* _pnIndex, BSTR* _pbsName) const;
    HRESULT AudioGetCount(int32_t* _pnCount) const;
    HRESULT AudioGetByIndex(int32_t _nIndex, ZR_AUD_PROPS* _pAudProps, BSTR* _pbsName) const;
    HRESULT AudioSet(eZrFormatType _eFormatType, const ZR_AUD_PROPS* _pAudProps);
    HRESULT AudioGet(eZrFormatType _eFormatType, ZR_AUD_PROPS* _pAudProps, int32_t* _pnIndex, BSTR* _pbsName) const;

    // What was asked for. The picture is complete, as a frame has it, or has nothing but a rate; what was not asked for
    // is zero, a picture that was switched off has eZrVF_Disabled.
    AV_FORMAT Wanted() const;
    // What the object takes in, or sends, from now on.
    void Note(eZrFormatType _eFormatType, const AV_FORMAT& _format);
    // The object is closed: nothing is taken in or sent. What was asked for stays.
    void Close();

private:
    static constexpr int32_t kTypes = 4;  // of eZrFormatType

    mutable Mutex mtx;
    AV_FORMAT arrFormats[kTypes] ZR_GUARDED_BY(mtx);
};

// Gives an object T its public face as a format.
template <class T>
class IZrFormatImpl : public IZrFormat {
public:
    HRESULT FormatVideoGetCount(eZrFormatType, int32_t* _pnCount) override { return format.VideoGetCount(_pnCount); }
    HRESULT FormatVideoGetByIndex(eZrFormatType, int32_t _nIndex, ZR_VID_PROPS* _pVidProps, BSTR* _pbsName) override {
        return format.VideoGetByIndex(_nIndex, _pVidProps, _pbsName);
    }
    HRESULT FormatVideoSet(eZrFormatType _eFormatType, const ZR_VID_PROPS* _pVidProps) override {
        return format.VideoSet(_eFormatType, _pVidProps);
    }
    HRESULT FormatVideoGet(eZrFormatType _eFormatType, ZR_VID_PROPS* _pVidProps, int32_t* _pnIndex,
                           BSTR* _pbsName) override {
        return format.VideoGet(_eFormatType, _pVidProps, _pnIndex, _pbsName);
    }
    HRESULT FormatAudioGetCount(eZrFormatType, int32_t* _pnCount) override { return format.AudioGetCount(_pnCount); }
    HRESULT FormatAudioGetByIndex(eZrFormatType, int32_t _nIndex, ZR_AUD_PROPS* _pAudProps, BSTR* _pbsName) override {
        return format.AudioGetByIndex(_nIndex, _pAudProps, _pbsName);
    }
    HRESULT FormatAudioSet(eZrFormatType _eFormatType, const ZR_AUD_PROPS* _pAudProps) override {
        return format.AudioSet(_eFormatType, _pAudProps);
    }
    HRESULT FormatAudioGet(eZrFormatType _eFormatType, ZR_AUD_PROPS* _pAudProps, int32_t* _pnIndex,
                           BSTR* _pbsName) override {
        return format.AudioGet(_eFormatType, _pAudProps, _pnIndex, _pbsName);
    }

protected:
    ~IZrFormatImpl() = default;

    ObjectFormat format;
};

}  // namespace zr
