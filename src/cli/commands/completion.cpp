// cli/commands/completion.cpp: completion: a script for the user's shell, which asks the program
// for what only it can know.
#include <fmt/format.h>

#include <set>

#include "cli/command.h"
#include "cli/commands/commands.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/text.h"

namespace cli {
namespace {

// In braces: the first words of commands, and those after a word that has several.
constexpr const char* kCommon =
    R"sh(# Completes the commands, options, files, labels and groups of trevault.
_trevault_commands='{}'
_trevault_second() {{
  case $1 in
{}  esac
}}
_trevault_options() {{ trevault help "$@" 2>/dev/null | grep -oE -- '(^|[ ,])--?[a-zA-Z0-9][a-z-]*' | tr -d ' ,'; }}
_trevault_names() {{ trevault "$@" -0 2>/dev/null | tr '\0' '\n'; }}
_trevault_groups() {{ trevault groups 2>/dev/null | sed 's/ *-> /\n/g' | sort -u; }}
_trevault_revisions() {{ printf '%s\n' here followed tip trunk; _trevault_groups; _trevault_names labels; }}
# What may stand at a place: _trevault_words COMMAND SECOND BEFORE WORD
_trevault_words() {{
  case $3 in
    -l|--label) _trevault_names labels; return ;;
    -r|--revision|--follow) _trevault_revisions; return ;;
    -p|--project) _trevault_names project list; return ;;
    -g|--group) _trevault_groups; return ;;
    -f|--folder) _trevault_names folder list; return ;;
    -C|-F|--file|--to|-o|--public|--private|--archive|--archives|--work|--team-work|--files-from|--svg|-m|--message|-u|--user) return ;;
  esac
  case $4 in
    -*) _trevault_options $1 $2; return ;;
  esac
  case $1 in
    ''|help) echo "$_trevault_commands" | tr ' ' '\n' ;;
    label) _trevault_names labels; _trevault_names list ;;
    follow) _trevault_revisions ;;
    join) _trevault_names project list ;;
    completion) printf '%s\n' bash zsh ;;
    add|import|import-rcs|init) ;;
    project|folder) [ -z "$2" ] && _trevault_second $1 | tr ' ' '\n' || _trevault_names $1 list ;;
    *) if [ -n "$(_trevault_second $1)" ] && [ -z "$2" ]; then _trevault_second $1 | tr ' ' '\n'
       else _trevault_names list; fi ;;
  esac
}}
)sh";

constexpr const char* kBash = R"sh(_trevault() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command= second= i
  for ((i = 1; i < COMP_CWORD; i++)); do
    case ${COMP_WORDS[i]} in
      -*) ;;
      *) if [ -z "$command" ]; then command=${COMP_WORDS[i]}
         elif [ -z "$second" ] && [[ " $(_trevault_second "$command") " == *" ${COMP_WORDS[i]} "* ]]
         then second=${COMP_WORDS[i]}; fi ;;
    esac
  done
  local IFS=$'\n'
  COMPREPLY=()
  local each
  while IFS= read -r each; do
    [[ $each == "$word"* ]] && COMPREPLY+=("$(printf '%q' "$each")")
  done < <(_trevault_words "$command" "$second" "$before" "$word")
}
complete -o default -F _trevault trevault
)sh";

constexpr const char* kZsh = R"sh(_trevault() {
  local command= second= each i
  for ((i = 2; i < CURRENT; i++)); do
    case ${words[i]} in
      -*) ;;
      *) if [[ -z $command ]]; then command=${words[i]}
         elif [[ -z $second && " $(_trevault_second $command) " == *" ${words[i]} "* ]]
         then second=${words[i]}; fi ;;
    esac
  done
  local -a found
  found=("${(@f)$(_trevault_words "$command" "$second" "${words[CURRENT-1]}" "${words[CURRENT]}")}")
  if [[ -n ${found[1]} ]]; then compadd -- "${found[@]}"; else _files; fi
}
# In a directory of fpath the file itself is the function, at its first call.
if [ "$funcstack[1]" = _trevault ]; then _trevault "$@"; else compdef _trevault trevault; fi
)sh";

class Completion : public Command {
 public:
  void declare(Options& options) override {
    options.word(&shell_, "SHELL", Options::Need::kRequired, "bash or zsh");
  }

  void run(Session& session) override {
    if (shell_ != "bash" && shell_ != "zsh") {
      throw misuse(shell_, "no shell that is known here", "'trevault completion bash', or zsh");
    }
    const std::string start = shell_ == "zsh" ? "#compdef trevault\n" : "";
    session.output().bytes(start + common() + (shell_ == "zsh" ? kZsh : kBash));
  }

 private:
  static std::string common() {
    std::set<std::string> firsts;
    std::string cases;
    std::string last;
    for (const CommandEntry& each : theCommands()) {
      const auto words = split(each.name, ' ');
      firsts.insert(words.front());
      if (!each.alias.empty()) firsts.emplace(each.alias);
      if (words.size() < 2) continue;
      if (words.front() != last) {
        if (!last.empty()) cases += "' ;;\n";
        cases += fmt::format("    {}) echo '", words.front());
        last = words.front();
      } else {
        cases += ' ';
      }
      cases += words.back();
    }
    if (!last.empty()) cases += "' ;;\n";
    return fmt::format(fmt::runtime(kCommon), fmt::join(firsts, " "), cases);
  }

  std::string shell_;
};

}  // namespace

std::unique_ptr<Command> makeCompletion() { return makeCommand<Completion>(); }

}  // namespace cli
