#include <cstdio>
#include <variant>

#include "command_line.h"
#include "run.h"

int main(int argc, char** argv) {
  const auto parsed = mediaprobe::ParseCommandLine(argc, argv);
  if (const auto* leave = std::get_if<mediaprobe::EarlyExit>(&parsed)) {
    std::fputs(leave->text.c_str(), leave->status == mediaprobe::kExitAnswered ? stdout : stderr);
    return leave->status;
  }
  return mediaprobe::Run(std::get<mediaprobe::Options>(parsed));
}
