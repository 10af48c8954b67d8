#pragma once

#include <gtest/gtest.h>
#include <locale.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace media_server {

/// Gives the process for one test a locale whose numbers have a decimal comma, as hosts do that heed their user's. It
/// is made here, by the C library's own tool: machines seldom have one.
class CommaLocale {
 public:
  CommaLocale() : folder_(testing::TempDir() + "/locales-" + std::to_string(getpid())) {
    std::filesystem::create_directories(folder_);
    const std::string source = folder_ + "/source";
    std::ofstream(source) << "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\ngrouping -1\nEND LC_NUMERIC\n";
    const std::string command = "localedef -c --no-archive -i '" + source + "' '" + folder_ + "/comma' >/dev/null 2>&1";
    [[maybe_unused]] const int status = system(command.c_str());  // it complains of the categories that are missing
    setenv("LOCPATH", folder_.c_str(), 1);
    setlocale(LC_NUMERIC, "comma");
  }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;
  ~CommaLocale() {
    setlocale(LC_NUMERIC, "C");
    unsetenv("LOCPATH");
    std::filesystem::remove_all(folder_);
  }

  static bool IsInForce() { return localeconv()->decimal_point == std::string(","); }

 private:
  std::string folder_;
};

}  // namespace media_server
