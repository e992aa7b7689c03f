// Patterns of file names, as `hdfs dfs` takes them: * ? [a-z] [^a-z] {one,two} and \ before a character that is meant
// itself.
#ifndef HOST_MARROWBY_GLOB_H
#define HOST_MARROWBY_GLOB_H

#include <string>
#include <vector>

/// Whether a path or a part of one holds a pattern at all.
bool hasPattern(const std::string &text);

/// The text without its backslashes.
std::string unescaped(const std::string &text);

/// Whether a name (UTF-8, without "/") matches a pattern without braces.
bool matchesPattern(const std::string &pattern, const std::string &name);

/// The patterns that a pattern with braces stands for: "a{b,c}" gives "ab" and "ac".
std::vector<std::string> expandBraces(const std::string &pattern);

#endif
