// What is in a DLL is called through a pointer, which the linker names after it with "__imp_" in front and finds in the
// DLL's import library. The double of the host's library has none: these are its pointers.
#include "host/core/MainUI.h"

extern "C" {

extern void (*const __imp__ZN6MainUI6addLogE8LogLevel7QString)(LogLevel, QString);
void (*const __imp__ZN6MainUI6addLogE8LogLevel7QString)(LogLevel, QString) = &MainUI::addLog;

extern int (*const __imp__ZN6MainUI9pixelSizeEv)();
int (*const __imp__ZN6MainUI9pixelSizeEv)() = &MainUI::pixelSize;

} // extern "C"
