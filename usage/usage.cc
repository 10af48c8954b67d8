#include "usage/usage.h"

namespace usage {
namespace {

bool IsFlag(const CLI::Option& option) { return option.get_expected_max() == 0; }

bool IsForOneValue(const CLI::Option& option) { return option.get_expected_max() == 1; }

/// CLI11 sets its groups two lines apart.
std::string HelpOf(const CLI::App& app) {
  std::string text = app.help();
  for (auto gap = text.find("\n\n\n"); gap != std::string::npos; gap = text.find("\n\n\n", gap)) text.erase(gap, 1);
  return text;
}

/// An option for one value that is given more than once; empty for none.
std::string RepeatedOption(const CLI::App& app, const CLI::Option* repeatable) {
  for (const CLI::Option* option : app.get_options()) {
    if (option != repeatable && IsForOneValue(*option) && option->count() > 1) return option->get_name();
  }
  return {};
}

}  // namespace

void LetLastHold(CLI::App& app) {
  for (CLI::Option* option : app.get_options()) {
    if (IsForOneValue(*option)) option->take_last();
  }
}

std::string FlagWithValue(const CLI::App& app, std::span<char* const> words) {
  for (const std::string_view word : words) {
    if (word == "--") break;
    const std::size_t equals = word.find('=');
    if (!word.starts_with("--") || equals == word.npos) continue;
    std::string name(word.substr(0, equals));
    const CLI::Option* option = app.get_option_no_throw(name);
    if (option && IsFlag(*option)) return name;
  }
  return {};
}

std::optional<Notice> Parse(const CLI::App& app, const std::function<void()>& parse,
                            const std::function<std::string()>& words_for_extras, const CLI::Option* repeatable) {
  constexpr bool kRefusal = true;
  try {
    parse();
    const std::string name = RepeatedOption(app, repeatable);
    return name.empty() ? std::nullopt : std::optional(Notice{kRefusal, name + " is given twice"});
  } catch (const CLI::ExtrasError&) {
    return Notice{kRefusal, words_for_extras()};
  } catch (const CLI::ArgumentMismatch& error) {
    // What is too much is not refused, and what is too little begins with the option's name.
    const std::string words = error.what();
    return Notice{kRefusal, words.substr(0, words.find(':')) + " needs a value"};
  } catch (const CLI::CallForHelp&) {
    return Notice{!kRefusal, HelpOf(app)};
  } catch (const CLI::CallForVersion& version) {
    return Notice{!kRefusal, std::string(version.what()) + "\n"};
  } catch (const CLI::ParseError& error) {
    return Notice{kRefusal, error.what()};
  }
}

}  // namespace usage
