#include "host/marrowby/HumanSize.h"

#include <cstdio>

std::string humanSize(std::uint64_t bytes)
{
    static const char kPrefixes[] = "KMGTPE";
    if (bytes < 1024)
        return std::to_string(bytes);
    int prefix = 0;
    double value = static_cast<double>(bytes) / 1024;
    while (value >= 1024 && kPrefixes[prefix + 1] != '\0') {
        value /= 1024;
        ++prefix;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %c", value, kPrefixes[prefix]);
    return text;
}
