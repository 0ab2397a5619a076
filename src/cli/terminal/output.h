// cli/terminal/output.h: where everything goes that a command has to say.
//
// Results go to the standard output, one line each, or as one JSON document at the end; problems,
// hints and questions to the standard error. A command tells each thing once, with the fields of
// its JSON item beside the line, and does not ask which of both is wanted.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "cli/problem.h"
#include "cli/terminal/bar.h"

namespace cli {

class Value;
using Fields = std::vector<std::pair<std::string, Value>>;
// What a field of a JSON document holds; null as it is made.
class Value : public std::variant<std::nullptr_t, bool, int64_t, std::string,
                                  std::vector<std::string>, std::vector<Value>, Fields> {
 public:
  using variant::variant;
  Value(const char* text) : variant(std::string(text)) {}
  Value(std::string_view text) : variant(std::string(text)) {}
  Value(int number) : variant(int64_t{number}) {}
  Value(size_t number) : variant(static_cast<int64_t>(number)) {}
};

enum class Colour { kPlain, kRed, kGreen, kYellow, kMagenta, kCyan, kBold, kBoldRed };

class Output {
 public:
  struct Manner {
    bool json = false;
    bool quiet = false;
    bool verbose = false;
    bool yes = false;  // The answer to every question, as the next.
    bool no = false;
    bool pager = true;
    std::string colour = "auto";
  };

  // `command` is its name, as people type it.
  Output(Manner manner, std::string command);

  const Manner& manner() const { return manner_; }
  bool isText() const { return !manner_.json; }
  bool isWide() const;  // A terminal shows box characters and the like.
  std::string coloured(std::string_view text, Colour colour) const;
  // As much of a message as a terminal's line has room for, of which `taken` columns are used by
  // others, but never next to nothing. All of it elsewhere, and if it is to be told in full.
  std::string fitted(std::string_view message, size_t taken) const;

  // What is longer than the screen goes to a pager: for commands that only tell.
  void usePager();

  // A field of the document itself.
  void set(std::string name, Value value);
  // A result: an item of the document, or a line. An empty line has the item in JSON alone.
  void result(Fields item, std::string_view line);
  // Results that are the lines of one table.
  void results(const std::vector<Fields>& items,
               const std::vector<std::vector<std::string>>& cells);
  // Text without an item: headings, counts, the lines of a table.
  void line(std::string_view text);
  // Bytes as they are.
  void bytes(std::string_view bytes);
  // A line where the standard output is taken by something else: to the standard error.
  void aside(std::string_view text);
  // One for a command, and on a terminal only.
  void hint(std::string_view text);
  void problem(const Problem& problem);
  bool hasProblems() const { return worst_ != Exit::kDone; }

  // A question is answered by an option, else on the terminal, where Enter means no. Without one
  // the answer is no, as it is at the end of the input.
  struct Choices {
    bool isOneOfMany = false;              // "a" answers all that follow, and "q" ends the command.
    std::vector<std::string> things = {};  // "l" lists several.
  };
  // `what` is the question without its choices. Throws Problem if the user wants to stop.
  bool ask(std::string_view what, const Choices& choices);
  bool ask(std::string_view what) { return ask(what, {}); }
  // Whether there is somebody at a terminal to be asked, and whether there is any answer.
  bool mayAsk() const;
  bool isAnswered() const { return manner_.yes || manner_.no || mayAsk(); }
  // Of a command that a no ends: somebody has said it, or there was nobody to ask.
  Exit exitOfNo() const { return isAnswered() ? Exit::kCancelled : Exit::kFailed; }

  // A piece of work with that many files begins: if it takes long, a bar is shown. After each file,
  // whatever came of it, comes a step().
  void begin(size_t files);
  void step() { bar_.step(); }
  void count(uint64_t bytes) { bar_.count(bytes); }  // Those of the file at hand.
  // Throws Problem if the user wants to stop: for where nothing is half-done.
  void mayStop() const;
  // The work ends here, as the user wishes, and `problem` says.
  void stop(const Problem& problem);
  void end() { bar_.end(); }

  // Writes what is kept till the end. The exit code: what was said, or what the problems say.
  Exit finish(Exit exit);

 private:
  void flush();
  void complain(std::string_view text);  // A line on the standard error.
  Problem stopped() const;
  bool isCut() const;  // Whether only some results are shown.
  void tellCut();      // How many were not, once they are all there.
  void showPages();

  Manner manner_;
  std::string command_;
  Bar bar_;
  bool isYesToAll_ = false;
  bool usesPager_ = false;
  bool isTerminal_ = false;
  bool isColoured_ = false;
  std::string pending_;
  size_t lines_ = 0;  // Results on a terminal so far, of which only some are shown.
  Fields document_;
  std::vector<Value> items_;
  std::vector<Value> errors_;
  std::set<std::string> toldAbove_;  // See Problem::above.
  bool isHinted_ = false;
  bool isStopped_ = false;
  Exit worst_ = Exit::kDone;
};

}  // namespace cli
