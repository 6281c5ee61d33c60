#include "sorvik/ConvertCommand.h"

#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "sorvik/ProgressDisplay.h"

namespace Program {
namespace {

// Short enough that neither Ctrl-C nor the end of a small conversion is waited for noticeably.
constexpr std::chrono::milliseconds kPause{20};

ProgressForm formOf(const ConvertOptions& options) {
  if (isatty(STDERR_FILENO) != 0) return ProgressForm::Bar;
  return options.progress ? ProgressForm::Lines : ProgressForm::None;
}

ProgressFacts factsOf(const Sorvik::Converter& converter, double elapsed) {
  ProgressFacts facts;
  facts.stage = converter.stage();
  converter.getProgress(facts.share);
  facts.elapsed = elapsed;
  if (elapsed > 0) {
    facts.pointsPerSecond = static_cast<double>(converter.numInputPoints()) * facts.share / elapsed;
  }
  std::chrono::system_clock::time_point eta;
  if (converter.getEta(eta)) {
    facts.secondsLeft = std::chrono::duration<double>(eta - std::chrono::system_clock::now()).count();
  }
  return facts;
}

/// Runs the conversion to its end, and shows how far it is.
void convert(Sorvik::Converter& converter, const ConvertOptions& options, const Streams& streams) {
  using Clock = std::chrono::steady_clock;
  ProgressDisplay display(formOf(options), streams.messages);
  if (streams.interrupt.came()) converter.requestCancellation();
  const Clock::time_point start = Clock::now();
  converter.runAsync();
  while (!converter.isStopped()) {
    if (streams.interrupt.came()) converter.requestCancellation();
    display.show(factsOf(converter, std::chrono::duration<double>(Clock::now() - start).count()));
    std::this_thread::sleep_for(kPause);
  }
}

std::string resultName(const Sorvik::Converter& converter) {
  if (converter.isCancelled()) return "Cancelled";
  std::ostringstream name;
  name << converter.resultCode();
  return name.str();
}

std::string jsonText(const Sorvik::Converter& converter) {
  nlohmann::ordered_json result;
  result["result"] = resultName(converter);
  result["numPoints"] = converter.numPoints();
  result["seconds"] = converter.seconds();
  result["failedReason"] = converter.failedReason();
  // Names of files are bytes, which need not be UTF-8.
  return result.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

std::string plainText(const Sorvik::Converter& converter) {
  std::array<char, 64> seconds{};
  std::snprintf(seconds.data(), seconds.size(), "%.1f", converter.seconds());
  std::string text = std::to_string(converter.numPoints()) + " points in " + seconds.data() + " s";
  if (converter.numDuplicates() != 0) {
    text += ", " + std::to_string(converter.numDuplicates()) + " duplicates dropped";
  }
  return text + '\n';
}

/// Names of files may hold anything: what would steer a terminal is shown as a question mark.
std::string printable(std::string text) {
  for (char& c : text) c = static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? '?' : c;
  return text;
}

}  // namespace

ExitStatus runConvert(const ConvertOptions& options, const Streams& streams) {
  Sorvik::Converter converter(options.inputs.front(), options.output, options.converter);
  for (std::size_t i = 1; i < options.inputs.size(); ++i) converter.addInput(options.inputs[i]);
  convert(converter, options, streams);

  for (const std::string& remark : converter.remarks())
    streams.messages << "sorvik: " + printable(remark) + '\n';
  if (options.json) {
    streams.results.write(jsonText(converter));
  } else if (converter.isCompleted()) {
    streams.results.write(plainText(converter));
  }
  if (converter.isCompleted()) return ExitStatus::Done;
  if (converter.isCancelled()) {
    streams.messages << "sorvik: interrupted\n";
    return ExitStatus::Interrupted;
  }
  streams.messages << "sorvik: " + printable(converter.failedReason()) + '\n';
  return ExitStatus::Failed;
}

}  // namespace Program
