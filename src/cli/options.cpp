// cli/options.cpp: the command is found by hand, so that no parser has to know all of them; its own
// words are read by a parser that knows it alone.
#include "cli/options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "cli/command.h"
#include "cli/text/text.h"

namespace cli {
namespace {

using Words = std::vector<std::string>;

void declareGlobals(Options& options, Globals* to) {
  options.text(&to->project, "-p,--project", "NAME",
               "another project than the one of this directory");
  options.text(&to->start, "-C", "DIR", "start in DIR");
  options.text(&to->publicRoot, "--public", "DIR", "another public root");
  options.text(&to->privateRoot, "--private", "DIR", "another private root");
  options.flag(&to->manner.quiet, "-q,--quiet", "nothing but errors");
  options.flag(&to->manner.verbose, "-v,--verbose", "every file, and more about each");
  options.flag(&to->manner.json, "--json", "one JSON document in place of text");
  options.flag(&to->manner.yes, "-y,--yes", "yes to every question");
  options.flag(&to->manner.no, "--no", "no to every question");
  options.text(&to->manner.colour, "--color,--colour", "WHEN", "auto, always or never");
  options.flag(&to->noPager, "--no-pager", "long output as it is");
  options.flag(&to->help, "-h,--help", "this page");
  options.flag(&to->version, "--version", "the version");
}

bool takesValue(const std::string& option) {
  for (const char* each :
       {"-p", "--project", "-C", "--public", "--private", "--color", "--colour"}) {
    if (option == each) return true;
  }
  return false;
}

// The place of the next word that is no option, from `place` on; words.size() for none.
size_t wordFrom(const Words& words, size_t place) {
  while (place < words.size() && words[place].starts_with('-') && words[place] != "--") {
    place += takesValue(words[place]) ? 2 : 1;
  }
  const bool isThere = place < words.size() && words[place] != "--";
  return isThere ? place : words.size();
}

const CommandEntry* findCommand(std::string_view name) {
  for (const CommandEntry& each : theCommands()) {
    if (each.name == name || (!each.alias.empty() && each.alias == name)) return &each;
  }
  return nullptr;
}

// Whether there are commands of two words that begin with this one.
Words secondWordsOf(const std::string& first) {
  Words found;
  for (const CommandEntry& each : theCommands()) {
    if (each.name.starts_with(first + ' ')) found.emplace_back(each.name.substr(first.size() + 1));
  }
  return found;
}

// The command that does what a word that people bring along says elsewhere; empty for none.
std::string commandFor(std::string_view word) {
  constexpr std::pair<const char*, std::string_view> kWords[] = {
      {"cat", "show"},
      {"checkin", "commit push put submit"},
      {"checkin --branch", "branch"},
      {"checkout", "fetch get pull sync up update"},
      {"follow", "switch"},
      {"join", "clone"},
      {"label", "tag"},
      {"labels", "tags"},
      {"list", "ls"},
      {"lock", "edit"},
      {"log", "history"},
      {"project add", "create new"},
      {"remove", "rm"},
      {"rename", "move mv"},
      {"revert", "reset restore undo"},
      {"status", "st"},
      {"where", "info"},
  };
  for (const auto& [own, others] : kWords) {
    const Words all = split(others, ' ');
    if (std::find(all.begin(), all.end(), word) != all.end()) return own;
  }
  return "";
}

[[noreturn]] void refuseCommand(const std::string& word) {
  const std::string own = commandFor(word);
  if (!own.empty()) throw misuse(word, "no such command", fmt::format("'{}' does that", own));
  Words known;
  for (const CommandEntry& each : theCommands()) {
    known.push_back(split(each.name, ' ').front());
    if (!each.alias.empty()) known.emplace_back(each.alias);
  }
  throw misuse(word, "no such command", offerNearest(word, known, "'trevault help' lists them"));
}

// The command that the words name, which are taken out. Null if they name none.
const CommandEntry* takeCommand(Words* words) {
  const size_t place = wordFrom(*words, 0);
  if (place == words->size()) return nullptr;
  const std::string first = (*words)[place];
  words->erase(words->begin() + static_cast<ptrdiff_t>(place));
  if (const CommandEntry* found = findCommand(first)) return found;
  const Words seconds = secondWordsOf(first);
  if (seconds.empty()) refuseCommand(first);
  const size_t next = wordFrom(*words, place);
  const std::string choice =
      fmt::format("'{} {}'", first, fmt::join(seconds, "', '" + first + ' '));
  if (next == words->size()) throw misuse(first, "what of it?", choice);
  const std::string second = (*words)[next];
  const CommandEntry* const found = findCommand(first + ' ' + second);
  if (found == nullptr) throw misuse(first + ' ' + second, "no such command", choice);
  words->erase(words->begin() + static_cast<ptrdiff_t>(next));
  return found;
}

[[noreturn]] void refuseOption(const CLI::App& app, const std::string& name, std::string word) {
  word.erase(std::min(word.find('='), word.size()));
  Words known;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& each : option->get_lnames()) known.push_back("--" + each);
  }
  if (!word.starts_with("--")) known.clear();
  throw misuse(
      name.empty() ? "trevault" : name, fmt::format("{}: no such option", word),
      offerNearest(word, known,
                   fmt::format("'trevault help{}{}' lists them", name.empty() ? "" : " ", name)));
}

// What the parser says of an option without its value, or of one that is there twice.
[[noreturn]] void refuseCount(const std::string& name, const std::string& why) {
  const std::string option = why.substr(0, why.find(':'));
  const bool isTwice = why.find("At Most") != std::string::npos;
  throw misuse(name, fmt::format("{}: {}", option,
                                 isTwice ? "is there twice" : "what follows it is missing"));
}

// Fills the fields of options, and gives the words that are left.
Words read(CLI::App* app, const std::string& name, Words words) {
  const std::string called = name.empty() ? "trevault" : name;
  std::reverse(words.begin(), words.end());
  try {
    app->parse(words);
  } catch (const CLI::ArgumentMismatch& error) {
    refuseCount(called, error.what());
  } catch (const CLI::ParseError& error) {
    throw misuse(called, error.what());
  }
  Words left;
  bool mayBeOption = true;
  for (std::string& word : app->remaining()) {
    if (mayBeOption && word.size() > 1 && word.front() == '-') {
      if (word != "--") refuseOption(*app, name, word);
      mayBeOption = false;
    } else {
      left.push_back(std::move(word));
    }
  }
  return left;
}

void check(const Globals& globals) {
  const Output::Manner& manner = globals.manner;
  if (manner.yes && manner.no) throw misuse("--yes", "and --no exclude each other");
  const bool isKnown =
      manner.colour == "auto" || manner.colour == "always" || manner.colour == "never";
  if (!isKnown) throw misuse("--color", "auto, always or never");
}

std::string linesOf(const std::vector<Words>& rows) {
  std::string text;
  for (const std::string& line : table(rows)) text += line + '\n';
  return text;
}

std::string overview(const Options& globals) {
  std::string text = "usage: trevault [OPTION]... COMMAND [OPTION]... [FILE]...\n\n";
  std::vector<Words> rows;
  for (const CommandEntry& each : theCommands()) {
    std::string name(each.name);
    if (!each.alias.empty()) name += fmt::format(", {}", each.alias);
    rows.push_back({"", name, std::string(each.summary)});
  }
  return fmt::format(
      "{}{}\noptions of all commands\n{}\n{}", text, linesOf(rows), globals.legend(),
      "To begin, 'trevault project add NAME' in a directory of yours, or 'trevault join NAME'\n"
      "for a project that is there. 'trevault help COMMAND' tells more about one.");
}

}  // namespace

void Options::note(std::string names, const std::string& value, const char* help) {
  for (size_t comma = names.find(','); comma != std::string::npos;
       comma = names.find(',', comma + 1))
    names.insert(comma + 1, " ");
  rows_.push_back({"", value.empty() ? names : names + ' ' + value, help});
}

void Options::flag(bool* to, const char* names, const char* help) {
  app_->add_flag(names, *to, help);
  note(names, "", help);
}

void Options::text(std::string* to, const char* names, const char* value, const char* help) {
  app_->add_option(names, *to, help)->type_name(value);
  note(names, value, help);
}

void Options::texts(std::vector<std::string>* to, const char* names, const char* value,
                    const char* help) {
  const auto take = [to](const std::string& text) { to->push_back(text); };
  app_->add_option_function<std::string>(names, take, help)
      ->type_name(value)
      ->trigger_on_parse()
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  note(names, value, help);
}

void Options::word(std::string* to, const char* name, Need need, const char* help) {
  fields_.push_back({to, nullptr, name, need, help, nullptr});
}

void Options::words(std::vector<std::string>* to, const char* name, Need need, const char* help,
                    const std::string* instead) {
  fields_.push_back({nullptr, to, name, need, help, instead});
}

void Options::take(const std::string& command, const std::vector<std::string>& words) const {
  size_t place = 0;
  for (const Field& field : fields_) {
    if (place == words.size()) {
      const bool isSaid = field.instead != nullptr && !field.instead->empty();
      if (field.need == Need::kRequired && !isSaid) {
        throw misuse(command, fmt::format("{} is missing", field.name),
                     fmt::format("'trevault help {}' tells more", command));
      }
    } else if (field.one != nullptr) {
      *field.one = words[place++];
    } else {
      field.many->assign(words.begin() + static_cast<ptrdiff_t>(place), words.end());
      place = words.size();
    }
  }
  if (place == words.size()) return;
  throw misuse(command.empty() ? "trevault" : command,
               fmt::format("'{}' is one word too many", shown(words[place])));
}

std::string Options::usage() const {
  std::string text;
  for (const Field& field : fields_) {
    const std::string name =
        field.need == Need::kRequired ? field.name : fmt::format("[{}]", field.name);
    text += fmt::format(" {}{}", name, field.many == nullptr ? "" : "...");
  }
  return text;
}

std::string Options::legendOfWords() const {
  std::vector<Words> rows;
  for (const Field& field : fields_) rows.push_back({"", field.name, field.help});
  return linesOf(rows);
}

std::string Options::legend() const { return linesOf(rows_); }

namespace {

bool isSaid(const Words& words, std::string_view option) {
  const auto end = std::find(words.begin(), words.end(), "--");
  return std::find(words.begin(), end, option) != end;
}

bool wantsHelp(const Words& words) { return isSaid(words, "-h") || isSaid(words, "--help"); }

// The page of all commands that begin with a word, if there is nothing but that word.
std::string familyPage(const Words& words) {
  const size_t place = wordFrom(words, 0);
  if (place == words.size() || wordFrom(words, place + 1) != words.size()) return "";
  const std::string first = words[place] + ' ';
  std::vector<Words> rows;
  for (const CommandEntry& each : theCommands()) {
    if (each.name.starts_with(first)) {
      rows.push_back({"", std::string(each.name), std::string(each.summary)});
    }
  }
  if (rows.empty()) return "";
  std::string page = fmt::format("usage: trevault {}COMMAND [OPTION]...\n\n{}\n\n{}", first,
                                 manualOf(words[place]), linesOf(rows));
  page.pop_back();
  return page;
}

std::string pageOf(const CommandEntry& entry, const Options& own, const Options& globals) {
  std::string page =
      fmt::format("usage: trevault {} [OPTION]...{}\n\n{}", entry.name, own.usage(), entry.summary);
  page += '\n';
  const std::string_view text = manualOf(entry.name);
  if (!text.empty()) page += fmt::format("\n{}", text.substr(1));
  for (const auto& [title, legend] :
       {std::pair("", own.legendOfWords()), std::pair("options\n", own.legend()),
        std::pair("options of all commands\n", globals.legend())}) {
    if (!legend.empty()) page += fmt::format("\n{}{}", title, legend);
  }
  page.pop_back();
  return page;
}

}  // namespace

Invocation readCommandLine(const std::vector<std::string>& given) {
  Words words = given;
  Invocation result;
  if (isSaid(words, "--help")) {
    const size_t place = wordFrom(words, 0);
    result.manual = place == words.size() ? "trevault" : "trevault-" + words[place];
  }
  if (wantsHelp(words)) result.help = familyPage(words);
  if (!result.help.empty()) {
    result.globals.help = true;
    return result;
  }
  const CommandEntry* const entry = takeCommand(&words);
  CLI::App app;
  app.set_help_flag();
  app.allow_extras();
  Options options(&app);
  Options globals(&app);
  if (entry != nullptr) {
    result.name = entry->name;
    result.command = entry->make();
    result.command->declare(options);
  }
  declareGlobals(globals, &result.globals);
  if (wantsHelp(words)) {
    result.globals.help = true;
    result.help = entry == nullptr ? overview(globals) : pageOf(*entry, options, globals);
    return result;
  }
  const Words left = read(&app, result.name, std::move(words));
  if (entry == nullptr) result.help = overview(globals);
  if (!result.globals.version) options.take(result.name, left);
  check(result.globals);
  result.globals.manner.pager = !result.globals.noPager;
  return result;
}

}  // namespace cli
