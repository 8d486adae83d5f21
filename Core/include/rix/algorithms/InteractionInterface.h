#pragma once

#include <rix/Export.h>
#include <rix/String.h>

namespace rix {

/// How a run talks to the person who waits for it. All operations are called from the thread that called `run`.
class RIX_EXPORT InteractionInterface {
public:
    virtual ~InteractionInterface();
    /// The progress of the run, from 0 to 1; never falls, and ends at 1 when the run succeeds.
    virtual void setProgress(double progress);
    /// What the run is doing.
    virtual void setProgressionMessage(const String& message);
    /// A named datum of the run, as set by the algorithm.
    virtual void setProgressionData(const String& name, const String& value);
    /// Asked at each poll; true asks the run to stop.
    virtual bool isCancelRequested();
};

}  // namespace rix
