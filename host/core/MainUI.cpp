#include "host/core/MainUI.h"

#include <cstdio>

void MainUI::addLog(LogLevel, QString text)
{
    std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
}

int MainUI::pixelSize()
{
    return 12;
}
