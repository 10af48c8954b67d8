#pragma once

#include <CLI/CLI.hpp>
#include <charconv>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

/// What the command lines of our programs have in common: wrong usage is refused in the same words, which are not
/// CLI11's.
namespace usage {

/// The decimal number that a text is, and nothing else. (CLI11 reads "010" as eight, and "nan" lies in its ranges.)
template <typename Number>
std::optional<Number> ReadNumber(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// Refuses a text that is no number of that range. `words` say what it has to be: "whole number from 1 to 9".
template <typename Number>
CLI::Validator InRange(Number least, Number most, const std::string& words) {
  const auto check = [=](const std::string& text) {
    const auto number = ReadNumber<Number>(text);
    const bool is_good = number && *number >= least && *number <= most;
    return is_good ? std::string() : "'" + text + "' is not a " + words;
  };
  return {check, ""};
}

/// To be called when all options are declared: those that are given twice are refused by `Parse`, not by CLI11.
void LetLastHold(CLI::App& app);

/// A flag with a value of its own ("--json=no"), which CLI11 would read as a word for yes or no; empty for none.
std::string FlagWithValue(const CLI::App& app, std::span<char* const> words);

/// What there is to say instead of going on: why the usage is wrong, or the text that was asked for.
struct Notice {
  bool is_refusal = false;
  std::string text;
};

/// Calls `parse`, which gives the app its words. Empty when they were read. `words_for_extras` tells what is wrong with
/// those that CLI11 found no place for; of `repeatable`, which may be null, the last one holds.
std::optional<Notice> Parse(const CLI::App& app, const std::function<void()>& parse,
                            const std::function<std::string()>& words_for_extras, const CLI::Option* repeatable);

}  // namespace usage
