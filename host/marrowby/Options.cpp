#include "host/marrowby/Options.h"

#include "host/marrowby/ConnectionSettings.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace {

const std::size_t kHelpColumn = 26;
const char kHelpOption[] = "--help";

/// CLI11 knows one letter behind one dash and words behind two.
std::string cliName(const std::string &name)
{
    return name.size() > 2 && name[1] != '-' ? '-' + name : name;
}

/// CLI11's help in our own words.
class HelpFormatter : public CLI::Formatter
{
public:
    explicit HelpFormatter(const std::vector<OptionDescription> &options) : m_options(options)
    {
        column_width(kHelpColumn);
    }

    std::string make_usage(const CLI::App *, std::string) const override { return std::string(); }
    std::string make_option_name(const CLI::Option *option, bool) const override
    {
        const std::string name = option->get_name(false, true);
        const OptionDescription *const description = findOption(m_options, name);
        return description ? description->name : name;
    }
    std::string make_option_opts(const CLI::Option *option) const override
    {
        const OptionDescription *const description = findOption(m_options, option->get_name(false, true));
        return description && !description->value.empty() ? ' ' + description->value : std::string();
    }

private:
    const std::vector<OptionDescription> &m_options;
};

void checkValuesOf(CLI::Option *option, const std::string &name)
{
    if (name == "--namenode")
        option->check([](const std::string &text) { return checkedAddress(text, nullptr); });
    else if (name == "--user")
        option->check([](const std::string &text) { return text.empty() ? std::string() : checkedUser(text); });
    else if (name == "--webhdfs" || name == "--abandon-block")
        option->check([](const std::string &text) {
            return text == "0" || text == "1" ? std::string() : "'" + text + "' is neither 0 nor 1";
        });
}

} // namespace

const OptionDescription *findOption(const std::vector<OptionDescription> &options, const std::string &word)
{
    const std::string name = word.substr(0, word.find('='));
    for (const OptionDescription &option : options)
        if (option.name == name || cliName(option.name) == name)
            return &option;
    return nullptr;
}

class OptionReader::Application : public CLI::App
{
public:
    using CLI::App::App;
};

OptionReader::OptionReader(const std::string &introduction) : m_application(new Application(introduction))
{
    m_application->formatter(std::make_shared<HelpFormatter>(m_options));
    m_application->set_help_flag(kHelpOption, "this text");
    m_application->allow_extras();
}

OptionReader::~OptionReader() {}

void OptionReader::add(const std::vector<OptionDescription> &options, const std::string &group)
{
    if (m_options.empty())
        m_application->get_help_ptr()->group(group);
    for (const OptionDescription &option : options) {
        m_options.push_back(option);
        const std::string name = option.name;
        CLI::Option *added;
        if (option.value.empty()) {
            added = m_application->add_flag_function(
                cliName(name), [this, name](std::int64_t) { m_given.insert(name); }, option.help);
        } else if (name == kPropertyOption) {
            added = m_application->add_option_function<std::vector<std::string>>(
                name,
                [this, name](const std::vector<std::string> &values) {
                    m_given.insert(name);
                    m_properties = values;
                },
                option.help);
            added->type_name(option.value);
            added->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
        } else {
            added = m_application->add_option_function<std::string>(
                cliName(name),
                [this, name](const std::string &value) {
                    m_given.insert(name);
                    m_values[name] = value;
                },
                option.help);
            added->type_name(option.value);
            added->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
            checkValuesOf(added, name);
        }
        added->group(group);
    }
}

void OptionReader::read(std::vector<std::string> words)
{
    for (std::string &word : words) {
        const OptionDescription *const option = findOption(m_options, word);
        const std::size_t equals = std::min(word.size(), word.find('='));
        // CLI11 would try to make a truth value of it.
        if (equals < word.size() && (option ? option->value.empty() : word.substr(0, equals) == kHelpOption))
            throw Error(word.substr(0, equals) + " takes no value");
        if (option)
            word = cliName(option->name) + word.substr(equals);
    }
    std::reverse(words.begin(), words.end()); // so CLI11 wants them
    try {
        m_application->parse(words);
    } catch (const CLI::CallForHelp &) {
        throw Help();
    } catch (const CLI::ArgumentMismatch &) {
        throw Error(words.front() + " needs a value"); // CLI11 takes what it understood off the end
    } catch (const CLI::ParseError &error) {
        throw Error(error.what());
    }
    if (!m_application->remaining().empty())
        throw Error("Illegal option " + m_application->remaining().front());
}

std::string OptionReader::help() const
{
    // CLI11 leaves two empty lines between groups, and one at the end.
    std::string text = CLI::detail::find_and_replace(m_application->help(), "\n\n\n", "\n\n");
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}
