#pragma once
// What lies beneath all streams of a mixer: put in place, taken away, asked for.

#include <string_view>

#include "framework/event_sink.h"
#include "framework/object_format.h"
#include "mixer/mix_cycle.h"
#include "mixer/stream_table.h"

namespace zr {

// Any thread, without a lock of the mixer but the state lock.
class MixerBackground {
public:
    MixerBackground(const ZrPropsHW& _props, ObjectFormat& _format, StreamTable& _streams, MixCycle& _cycle)
        : props(_props), format(_format), streams(_streams), cycle(_cycle) {}

    // As IZrStreams::StreamsBackgroundSet. _ppItem may be null.
    HRESULT Set(IUnknown* _pExternOrRef, std::u16string_view _path, std::u16string_view _param, IZrItem** _ppItem);
    // As IZrStreams::StreamsBackgroundGet.
    HRESULT Get(BSTR* _pbsPath, IZrItem** _ppItem) const;
    // Takes the background away and ends its source.
    void Close();

private:
    std::u16string FileLine(std::u16string_view _param) const;
    ZrPtr<CCoZrItem> Exchange(ZrPtr<CCoZrItem> _pItem);

    const ZrPropsHW& props;
    ObjectFormat& format;
    StreamTable& streams;
    MixCycle& cycle;
};

}  // namespace zr
