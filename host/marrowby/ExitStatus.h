// What the shell gets from marrowby.
#ifndef HOST_MARROWBY_EXITSTATUS_H
#define HOST_MARROWBY_EXITSTATUS_H

const int kDone = 0;
const int kFailed = 1;         ///< something could not be done, or a test was not true
const int kWrongUsage = 255;   ///< as `hdfs dfs`, which ends with -1
const int kOutputClosed = 141; ///< 128 + SIGPIPE
const int kSignalled = 128;    ///< plus the signal

#endif
