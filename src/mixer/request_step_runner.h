#pragma once
// What happens to one input's frame between its source and the composition.

#include "attributes/co_xml_node.h"
#include "framework/statistics_sink.h"
#include "mixer/sync_request.h"

namespace zr {

// Any thread, one for each step.
class RequestStepRunner {
public:
    RequestStepRunner(const XMLNodePtr& _pObject, IStatisticsSink& _statistics);

    // From step.pSourceFrame into the stream, or to step.pResult for the background. E_UNEXPECTED: there is no frame.
    // E_OUTOFMEMORY: it is lost.
    HRESULT Run(RequestStep& _step) const;

private:
    void RunPlugins(RequestStep& _step) const;
    HRESULT Put(RequestStep& _step) const;
    HRESULT FitToOutput(RequestStep& _step) const;

    const XMLNodePtr pObject;
    IStatisticsSink& statistics;
    const IStatisticsSink::Handle nPutBackground;
    const IStatisticsSink::Handle nPluginsBackground;
};

}  // namespace zr
