#ifndef HOST_MARROWBY_DISPLAY_H
#define HOST_MARROWBY_DISPLAY_H

/// Whether there is something to show windows on. Without it a QApplication would end the process.
bool hasDisplay();

#endif
