#pragma once
// The parts of a mixer, put together. The object of zr/class_ids.h gives it its faces.

#include "attributes/props.h"
#include "framework/last_frame.h"
#include "framework/object_format.h"
#include "framework/statistics_node.h"
#include "mixer/direct_links.h"
#include "mixer/item_maker.h"
#include "mixer/mix_cycle.h"
#include "mixer/mixer_background.h"
#include "mixer/mixer_control.h"
#include "mixer/mixer_links.h"
#include "mixer/mixer_output.h"
#include "mixer/mixer_persist.h"
#include "mixer/mixer_state.h"
#include "mixer/mixer_streams.h"
#include "mixer/stream_table.h"
#include "mixer/video_block.h"
#include "scenes/scenes_set.h"

namespace zr {

class MixerCore {
public:
    // All outlive the core. _self: the mixer.
    MixerCore(ZrPropsHW& _props, ObjectFormat& _format, SourceReaders& _readers, Sender& _sender, PluginList& _plugins,
              IEventSink& _events, IUnknown& _self)
        : statistics(_props.Root()->FindNode(_props.Object()->AttributeOr(u"statistics.extended", u"stat"), true)),
          output(_props.Object(), state, _readers, _sender, _plugins, lastFrame, _events, statistics),
          links(state, streams),
          scenes(_events),
          cycle({_props, state, _format, streams, links, blocks, scenes, tracks, statistics, _events, output, _self}),
          named(_props, cycle, _self),
          maker(_props, _format, named),
          background(maker, links, cycle, _events),
          inputs({_props, maker, links, cycle, blocks, statistics, _events}),
          control({_props, state, _format, streams, cycle, background, inputs, links, output, _sender, tracks,
                   statistics, _events}),
          persist({_props, _format, streams, maker, named, background, inputs, scenes, tracks}) {}

    MixerState state;
    StatisticsNode statistics;
    StreamTable streams;
    LastFrame lastFrame;
    MixerOutput output;
    BlockSet blocks;
    MixerLinks links;
    ScenesSet scenes;
    AudioTracks tracks{AudioTracks::Levels::kAlways};
    MixCycle cycle;
    DirectLinks named;
    ItemMaker maker;
    MixerBackground background;
    MixerStreams inputs;
    MixerControl control;
    MixerPersist persist;
};

}  // namespace zr
