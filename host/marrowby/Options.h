// Options, read and described with CLI11.
#ifndef HOST_MARROWBY_OPTIONS_H
#define HOST_MARROWBY_OPTIONS_H

#include "host/marrowby/Command.h"

#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

/// The description of the option that a word names, "--user=x" included; null when there is none.
const OptionDescription *findOption(const std::vector<OptionDescription> &options, const std::string &word);

class OptionReader
{
public:
    /// Somebody asked with --help.
    struct Help {
    };
    /// An option that does not exist ("Illegal option -x"), or a value that is missing, makes no sense or is one too
    /// many.
    class Error : public std::runtime_error
    {
    public:
        using std::runtime_error::runtime_error;
    };

    /// `introduction`: what the help begins with.
    explicit OptionReader(const std::string &introduction = std::string());
    ~OptionReader();
    OptionReader(const OptionReader &) = delete;
    OptionReader &operator=(const OptionReader &) = delete;

    void add(const std::vector<OptionDescription> &options, const std::string &group);

    /// `words`: options and their values, nothing else. Throws Help or Error.
    void read(std::vector<std::string> words);

    const std::set<std::string> &given() const { return m_given; }
    const std::map<std::string, std::string> &values() const { return m_values; }

    /// The values of all the kPropertyOption.
    const std::vector<std::string> &properties() const { return m_properties; }

    /// The introduction and the options, without a line feed at the end.
    std::string help() const;

private:
    class Application; // CLI11 is one very large header
    std::unique_ptr<Application> m_application;
    std::vector<OptionDescription> m_options;
    std::set<std::string> m_given;
    std::map<std::string, std::string> m_values;
    std::vector<std::string> m_properties;
};

#endif
