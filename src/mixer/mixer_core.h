#pragma once
// The parts of a mixer, put together. The object of zr/class_ids.h gives it its faces.

#include "attributes/props.h"
#include "framework/last_frame.h"
#include "framework/object_format.h"
#include "framework/statistics_node.h"
#include "mixer/mix_cycle.h"
#include "mixer/mixer_background.h"
#include "mixer/mixer_control.h"
#include "mixer/mixer_output.h"
#include "mixer/mixer_state.h"
#include "mixer/stream_table.h"

namespace zr {

class MixerCore {
public:
    // All outlive the core.
    MixerCore(const ZrPropsHW& _props, ObjectFormat& _format, SourceReaders& _readers, Sender& _sender,
              IEventSink& _events)
        : statistics(_props.Root()->FindNode(_props.Object()->AttributeOr(u"statistics.extended", u"stat"), true)),
          output(_props.Object(), state, _readers, _sender, lastFrame, _events, statistics),
          cycle({_props, state, _format, streams, statistics, _events, output}),
          background(_props, _format, streams, cycle),
          control({_props, state, _format, streams, cycle, background, output, statistics, _events}) {}

    MixerState state;
    StatisticsNode statistics;
    StreamTable streams;
    LastFrame lastFrame;
    MixerOutput output;
    MixCycle cycle;
    MixerBackground background;
    MixerControl control;
};

}  // namespace zr
