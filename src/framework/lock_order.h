#pragma once
// The order in which one thread takes locks, outermost first. A thread that holds a lock takes only locks that stand
// below it here, and never two of one kind; builds with ZR_LOCK_ORDER stop at the first lock that breaks this (see
// platform/lock.h). Gaps in the numbers leave room for new places.
//
// Three rules go beyond the numbers:
// - No lock is held across a call into a source, a receiver, a plug-in or a listener: what those lock is not known.
// - The state lock is taken by the mix thread only with a try, as its stop waits for that thread under the lock.
// - The locks of the platform, of the attribute tree's nodes and of the frame memory are unranked leaves: everything
//   here may be held around them, and nothing is called under them. A node's lock lies under the property lock.

#include "platform/lock.h"

namespace zr::lock_order {

// The same as the next, of an object that makes and runs others: a mixer starts and stops its own sources under it.
inline constexpr LockRank kHostState{90, "state lock of a mixer"};
// Start, stop, play and close of an object, one at a time; held while its threads are joined.
inline constexpr LockRank kState{100, "state lock"};
// How a file source plays, and its worker.
inline constexpr LockRank kFilePlay{150, "play lock of a file"};
// The tree of an object's keys; held by a set through the change hook, which may rebuild the background.
inline constexpr LockRank kProperties{200, "property lock"};
// The list of the threads that push into the streams of an asynchronous mixer.
inline constexpr LockRank kProducers{250, "producers lock"};
// Edits of the stream table, and the collection of sources for a synchronous cycle.
inline constexpr LockRank kChange{300, "change lock"};
// One pass of the mixer from collection to the end of the audio step.
inline constexpr LockRank kCycle{400, "cycle lock"};
// The stream table itself, reader/writer: read for a walk, written by edits.
inline constexpr LockRank kStreams{500, "streams lock"};
// The list of scenes and the structure of their trees, reader/writer: read while the scene is drawn.
inline constexpr LockRank kScenes{600, "scenes lock"};
// What a stream remembers of its last frame.
inline constexpr LockRank kStreamFrame{700, "frame lock of a stream"};
// The list of blocks that the scene shows.
inline constexpr LockRank kBlockSet{780, "lock of the block set"};
// One block while its picture is made, then what producer and mix thread know of it; the latter for moments only.
inline constexpr LockRank kBlockMake{790, "picture lock of a block"};
inline constexpr LockRank kBlock{800, "block lock"};

// The list of audio tracks, reader/writer: read through the whole audio step.
inline constexpr LockRank kAudioTracks{900, "audio tracks lock"};
inline constexpr LockRank kAudioTrack{910, "audio track lock"};
// The audio ring of a stream and its two events.
inline constexpr LockRank kStreamAudio{920, "audio lock of a stream"};
// Sound of frames that waits under a name, and what converts it.
inline constexpr LockRank kFrameSound{925, "frame sound lock"};
// The ring buffer and the converter it owns.
inline constexpr LockRank kAudioBuffer{930, "audio buffer lock"};
// Copies of the level records; held for the copy only.
inline constexpr LockRank kLoudness{940, "loudness lock"};

inline constexpr LockRank kItemBreaks{1000, "breaks lock of an item"};
// State of a transition; its converter is locked under it.
inline constexpr LockRank kTransition{1010, "transition lock"};

// The packer: state of the rate conversion, then the frame slot, then the audio that waits. Not held during delivery.
inline constexpr LockRank kPackerRate{1100, "packer rate lock"};
inline constexpr LockRank kPackerSlot{1110, "packer slot lock"};
inline constexpr LockRank kPackerAudio{1120, "packer audio lock"};

// The sender: its channels and filters (both reader/writer, copied out before the send), its name.
inline constexpr LockRank kSenderChannels{1200, "channels lock"};
inline constexpr LockRank kSenderChannel{1205, "channel lock"};  // one channel: its receiver and the frame in flight
inline constexpr LockRank kSenderFilters{1210, "filters lock"};
inline constexpr LockRank kSenderName{1220, "name lock"};
// Who is linked to a receiver; held for the identity test only.
inline constexpr LockRank kReceiver{1230, "receiver lock"};
// The map of readers, reader/writer, and the frame slot of one reader.
inline constexpr LockRank kReaders{1240, "readers lock"};
inline constexpr LockRank kReader{1250, "reader lock"};
// A format converter or scaler with its tables; held while it converts.
inline constexpr LockRank kConverter{1300, "converter lock"};
// The filters of the resamplers in use.
inline constexpr LockRank kResampleFilters{1310, "resample filters lock"};

// Listeners (reader/writer, copied out before a call), then the events that wait for delivery.
inline constexpr LockRank kListeners{1400, "listeners lock"};
inline constexpr LockRank kEventQueue{1410, "event queue lock"};
// Start and close of an active queue, then its items.
inline constexpr LockRank kActiveQueueControl{1500, "active queue control lock"};
inline constexpr LockRank kActiveQueue{1510, "active queue lock"};
// The running analysis of the output; publishes into the attribute tree.
inline constexpr LockRank kStatistics{1600, "statistics lock"};

// The run of a thread object.
inline constexpr LockRank kThread{1700, "thread lock"};
// Leaves: output and scene clock of the mixer; clock of a rate timer.
inline constexpr LockRank kClock{1800, "clock lock"};
inline constexpr LockRank kRateTimer{1810, "rate timer lock"};

}  // namespace zr::lock_order
