// cli/terminal/output.cpp: lines, JSON documents, problems, hints and questions.
#include "cli/terminal/output.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "cli/text/text.h"
#include "os/environment.h"
#include "os/stop.h"
#include "os/terminal.h"

namespace cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kVersion = 1;  // Of the documents.
constexpr size_t kMostLines = 20;
constexpr size_t kWideWrite = 64 << 10;

Json jsonOf(const Value& value) {
  return std::visit(
      [](const auto& held) -> Json {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, Fields>) {
          Json object = Json::object();
          for (const auto& [name, field] : held) object[name] = jsonOf(field);
          return object;
        } else if constexpr (std::is_same_v<Held, std::vector<Value>>) {
          Json list = Json::array();
          for (const Value& each : held) list.push_back(jsonOf(each));
          return list;
        } else {
          return held;
        }
      },
      static_cast<const Value::variant&>(value));
}

// A name that is no text comes out with all its bytes beside it.
void addBytes(Fields* item) {
  const size_t count = item->size();
  item->reserve(2 * count);  // So that names stay where they are.
  for (size_t i = 0; i < count; ++i) {
    const auto& [name, value] = (*item)[i];
    const auto* const text = std::get_if<std::string>(&value);
    const bool isExact = name == "file" || name == "content";
    if (!isExact || text == nullptr || isUtf8(*text)) continue;
    item->emplace_back(name + "_bytes", base64(*text));
  }
}

std::string_view codeOf(Colour colour) {
  switch (colour) {
    case Colour::kRed:
      return "31";
    case Colour::kGreen:
      return "32";
    case Colour::kYellow:
      return "33";
    case Colour::kMagenta:
      return "35";
    case Colour::kCyan:
      return "36";
    case Colour::kBold:
      return "1";
    case Colour::kBoldRed:
      return "1;31";
    default:
      return "0";
  }
}

// The length of one of our own colour changes that `text` begins with, 0 for none.
size_t colourAt(std::string_view text) {
  for (const char* code : {"0", "31", "32", "33", "35", "36", "1", "1;31"}) {
    const std::string change = fmt::format("\x1B[{}m", code);
    if (text.starts_with(change)) return change.size();
  }
  return 0;
}

// `text` as the stream may have it: a terminal obeys control characters, whoever wrote them.
std::string safeFor(os::Stream stream, std::string_view text) {
  if (!os::isTerminal(stream)) return std::string(text);
  std::string result;
  while (!text.empty()) {
    const size_t colour = colourAt(text);
    result += text.substr(0, colour);
    text.remove_prefix(colour);
    const size_t end = text.find('\x1B', colour == 0 ? 1 : 0);
    result += onTerminal(text.substr(0, end));
    text.remove_prefix(std::min(end, text.size()));
  }
  return result;
}

// The commands that stand in single quotes.
std::vector<std::string> commandsIn(std::string_view todo) {
  std::vector<std::string> found;
  for (;;) {
    const size_t begin = todo.find('\'');
    const size_t end = begin == std::string_view::npos ? begin : todo.find('\'', begin + 1);
    if (end == std::string_view::npos) return found;
    found.emplace_back(todo.substr(begin + 1, end - begin - 1));
    todo.remove_prefix(end + 1);
  }
}

// What a command that was stopped does again from the start.
constexpr std::string_view kReading = "reading";
constexpr std::string_view kExporting = "exporting";

// What the program is doing while a command works.
std::string_view doing(std::string_view command) {
  constexpr std::pair<std::string_view, std::string_view> kChanges[] = {
      {"add", "adding"},          {"import", "importing"},      {"import-rcs", "importing"},
      {"remove", "removing"},     {"checkout", "checking out"}, {"join", "checking out"},
      {"follow", "checking out"}, {"checkin", "checking in"},   {"lock", "locking"},
      {"unlock", "unlocking"},    {"revert", "reverting"},      {"label", "labelling"},
      {"promote", "promoting"},   {"describe", "describing"},   {"delete", "deleting"},
      {"access", "changing"},     {"attributes", "changing"},   {"export", kExporting},
  };
  for (const auto& [name, words] : kChanges) {
    if (command == name) return words;
  }
  return kReading;
}

bool wantsColour(const std::string& wish) {
  if (wish != "auto") return wish == "always";
  return os::environmentVariable("NO_COLOR").value_or("").empty() && os::takesColours();
}

}  // namespace

Output::Output(Manner manner, std::string command)
    : manner_(std::move(manner)),
      command_(std::move(command)),
      isTerminal_(os::isTerminal(os::Stream::kOutput)),
      isColoured_(!manner_.json && wantsColour(manner_.colour)) {}

bool Output::isWide() const { return os::showsUtf8(); }

std::string Output::coloured(std::string_view text, Colour colour) const {
  if (!isColoured_ || colour == Colour::kPlain) return std::string(text);
  return fmt::format("\x1B[{}m{}\x1B[0m", codeOf(colour), text);
}

std::string Output::fitted(std::string_view message, size_t taken) const {
  constexpr size_t kLeast = 24;
  const auto width = static_cast<size_t>(os::terminalWidth());
  const size_t room = std::max(kLeast, width - std::min(taken, width));
  const bool isAll = manner_.verbose || !os::isTerminal(os::Stream::kOutput);
  if (isAll || columnsOf(message) <= room) return std::string(message);
  const std::string_view rest = isWide() ? "…" : "...";
  std::string text;
  for (size_t left = room - columnsOf(rest); left > 0; --left) {
    text += firstLetter(message.substr(text.size()));
  }
  text.erase(text.find_last_not_of(' ') + 1);
  return text.append(rest);
}

void Output::set(std::string name, Value value) {
  document_.emplace_back(std::move(name), std::move(value));
}

void Output::result(Fields item, std::string_view text) {
  if (manner_.json) {
    addBytes(&item);
    items_.emplace_back(std::move(item));
  } else if (!text.empty()) {
    if (++lines_ <= kMostLines || !isCut()) line(text);
  }
}

void Output::results(const std::vector<Fields>& items,
                     const std::vector<std::vector<std::string>>& cells) {
  const auto lines = table(cells);
  for (size_t i = 0; i < lines.size(); ++i) result(items[i], lines[i]);
}

void Output::line(std::string_view text) {
  if (manner_.json || manner_.quiet) return;
  tellCut();
  pending_.append(safeFor(os::Stream::kOutput, text)).append("\n");
  const bool isDue = pending_.size() > kWideWrite || os::isTerminal(os::Stream::kOutput);
  if (isDue && !usesPager_) flush();
}

void Output::bytes(std::string_view bytes) {
  flush();
  pending_ = bytes;
  flush();
}

void Output::aside(std::string_view text) {
  if (!manner_.json && !manner_.quiet) complain(text);
}

void Output::tellCut() {
  if (!isCut() || lines_ <= kMostLines) return;
  const size_t rest = std::exchange(lines_, 0) - kMostLines;
  line(fmt::format("... and {} more (-v shows all)", number(rest)));
}

bool Output::isCut() const { return isTerminal_ && !manner_.verbose && !usesPager_; }

void Output::usePager() {
  usesPager_ = manner_.pager && isText() && !manner_.quiet && !os::hasRaisedRights() &&
               os::isTerminal(os::Stream::kOutput);
}

void Output::showPages() {
  const auto lines = std::count(pending_.begin(), pending_.end(), '\n');
  if (!std::exchange(usesPager_, false) || lines < os::terminalHeight()) return;
  std::string pager = "less";
  for (const char* name : {"PAGER", "TREVAULT_PAGER"}) {
    if (const auto said = os::environmentVariable(name)) pager = *said;
  }
  if (pager.empty()) return;
  const std::string text = safeFor(os::Stream::kOutput, pending_);  // As it ends on the terminal.
  if (!os::startPager(pager)) return;
  pending_ = text;
  flush();
  if (!os::endPager()) pending_ = text;
}

// Who closes a pager or a pipe has seen enough.
void Output::flush() {
  if (pending_.empty()) return;
  bar_.hide();
  const os::Written written = os::writeTo(os::Stream::kOutput, std::exchange(pending_, ""));
  if (written != os::Written::kFailed) return;
  if (worst_ == Exit::kDone) complain("trevault: standard output: can't be written");
  worst_ = std::max(worst_, Exit::kFailed);
}

void Output::complain(std::string_view text) {
  if (!usesPager_) flush();
  bar_.hide();
  const std::string line = safeFor(os::Stream::kErrors, text) + '\n';
  static_cast<void>(os::writeTo(os::Stream::kErrors, line));
}

void Output::hint(std::string_view text) {
  const bool isWanted = os::isTerminal(os::Stream::kErrors) &&
                        os::environmentVariable("TREVAULT_HINTS").value_or("") != "0";
  if (!isWanted || std::exchange(isHinted_, true)) return;
  aside(fmt::format("hint: {}", text));
}

void Output::problem(const Problem& problem) {
  worst_ = std::max(worst_, problem.exit);
  if (manner_.json) {
    const Value status = problem.status == 0 ? Value() : Value(problem.status);
    errors_.emplace_back(Fields{{"file", problem.what},
                                {"status", status},
                                {"what", problem.what},
                                {"why", reasonOf(problem)},
                                {"try", commandsIn(problem.todo)}});
    return;
  }
  if (!problem.above.empty() && !toldAbove_.insert(problem.above).second) return;
  const std::string& what = problem.above.empty() ? problem.what : problem.above;
  std::string text = coloured("trevault:", Colour::kBoldRed);
  text += fmt::format(" {}: {}", shown(what), problem.why);
  if (!problem.todo.empty()) text += "; " + problem.todo;
  if (manner_.verbose && problem.status != 0)
    text += fmt::format(" (engine status {})", problem.status);
  complain(text);
}

bool Output::mayAsk() const {
  return isText() && os::isTerminal(os::Stream::kInput) && os::isTerminal(os::Stream::kErrors);
}

bool Output::ask(std::string_view what, const Choices& choices) {
  if (manner_.yes || manner_.no || isYesToAll_) return !manner_.no;
  if (!mayAsk()) return false;
  flush();
  bar_.hide();
  const std::string question =
      fmt::format("{}? [y/N{}{}] ", onTerminal(what), choices.isOneOfMany ? "/a/q" : "",
                  choices.things.size() > 1 ? "/l" : "");
  for (;;) {
    const std::string answer = os::readFromTerminal(question).value_or("");
    if (os::isStopWanted()) throw stopped();
    if (answer == "l" && choices.things.size() > 1) {
      for (const std::string& each : choices.things) complain("  " + each);
      continue;
    }
    if (choices.isOneOfMany && answer == "q") throw stopped();
    isYesToAll_ = choices.isOneOfMany && answer == "a";
    return isYesToAll_ || answer == "y" || answer == "Y" || answer == "yes";
  }
}

void Output::begin(size_t files) {
  const bool isShown = isText() && !manner_.quiet && os::isTerminal(os::Stream::kOutput) &&
                       os::isTerminal(os::Stream::kErrors);
  isYesToAll_ = false;
  const bool isDumb = os::environmentVariable("TERM").value_or("") == "dumb";
  bar_.begin(std::string(doing(command_)), files, isShown && !isDumb);
}

void Output::mayStop() const {
  if (isStopped_ || os::isStopWanted()) throw stopped();
}

void Output::stop(const Problem& problem) {
  if (!std::exchange(isStopped_, true)) this->problem(problem);
}

Problem Output::stopped() const {
  const Advance& now = bar_.now();
  if (now.total < 2 || now.doing == kReading || now.doing == kExporting) {
    return {command_, "stopped", "", Exit::kCancelled};
  }
  return {command_,
          fmt::format("stopped, {} of {} files done", number(now.done), number(now.total)),
          "the same command goes on from there", Exit::kCancelled};
}

Exit Output::finish(Exit exit) {
  bar_.end();
  tellCut();
  if (manner_.json) {
    Fields whole{{"version", kVersion}, {"command", command_}};
    whole.insert(whole.end(), document_.begin(), document_.end());
    whole.emplace_back("items", items_);
    whole.emplace_back("errors", errors_);
    pending_ = jsonOf(whole).dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
  }
  showPages();
  flush();
  return std::max(exit, worst_);
}

}  // namespace cli
