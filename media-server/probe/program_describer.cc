#include "media-server/probe/program_describer.h"

#include <algorithm>
#include <span>
#include <vector>

#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/timing.h"

namespace media_server::probe {
namespace {

void AddStream(std::size_t index, const MediaDescription& media, ProgramDescription& program) {
  ++program.stream_count;
  const auto described = std::ranges::find(media.streams, index, &StreamDescription::index);
  if (described != media.streams.end()) {
    program.streams.push_back(static_cast<std::size_t>(described - media.streams.begin()));
  }
}

// A program's own duration and rate are those of its streams; the rate is only known when every stream tells its own.
void SumUp(const MediaDescription& media, ProgramDescription& program) {
  std::uint64_t rate = 0;
  bool every_rate_known = !program.streams.empty();
  for (const std::size_t position : program.streams) {
    const StreamDescription& stream = media.streams[position];
    program.duration = std::max(program.duration, stream.duration);
    rate += stream.bit_rate;
    every_rate_known = every_rate_known && stream.bit_rate > 0;
  }
  program.bit_rate = every_rate_known ? Saturated(rate) : 0;
}

std::vector<ProgramDescription> ProgramsOfFile(const AVFormatContext& context, const MediaDescription& media) {
  std::vector<bool> in_program(context.nb_streams, false);
  std::vector<ProgramDescription> programs;
  for (const AVProgram* from : std::span(context.programs, context.nb_programs)) {
    if (from->nb_stream_indexes == 0) continue;
    ProgramDescription& program = programs.emplace_back();
    program.number = static_cast<std::uint32_t>(from->program_num);
    for (const unsigned index : std::span(from->stream_index, from->nb_stream_indexes)) {
      in_program[index] = true;
      AddStream(index, media, program);
    }
  }
  if (programs.empty()) programs.emplace_back();
  for (unsigned index = 0; index < context.nb_streams; ++index) {
    if (!in_program[index]) AddStream(index, media, programs.front());
  }
  return programs;
}

}  // namespace

void DescribePrograms(const AVFormatContext& context, MediaDescription& media) {
  media.programs = ProgramsOfFile(context, media);
  if (media.programs.size() == 1) {
    media.programs.front().duration = media.duration;
    media.programs.front().bit_rate = Saturated(media.bit_rate);
    return;
  }
  for (ProgramDescription& program : media.programs) SumUp(media, program);
}

}  // namespace media_server::probe
