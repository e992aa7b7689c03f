// Who collects log entries at the moment: shared by the two sources of the host's log and nobody else.
#ifndef HOST_CORE_INNERMOSTCAPTURE_H
#define HOST_CORE_INNERMOSTCAPTURE_H

class CapturedLog;

/// Null while nobody collects.
extern CapturedLog *innermostCapture;

#endif
