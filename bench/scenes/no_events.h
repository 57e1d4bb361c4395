#pragma once
// For scenes of which nobody wants to hear.

#include "framework/event_sink.h"

namespace zr {

class NoEvents final : public IEventSink {
public:
    void RaiseEvent(const char16_t*, const char16_t*, const char16_t*, IUnknown*) override {}
    void RaiseFrame(const char16_t*, IZrFFrame*) override {}
};

}  // namespace zr
