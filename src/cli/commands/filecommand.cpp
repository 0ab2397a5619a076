// cli/commands/filecommand.cpp: one thing done to many files.
#include "cli/commands/filecommand.h"

#include <fmt/format.h>

#include "cli/text/text.h"

namespace cli {

void FileCommand::run(Session& session) {
  session_ = &session;
  work();
  if (local_) local_->save();
}

void FileCommand::declareDry(Options& options) {
  options.flag(&isDry_, "-n,--dry-run", "say what would be done");
}

void FileCommand::declareFiles(Options& options, Need need) {
  const bool isRequired = need == Need::kRequired;
  options.words(&names_, "FILE", need,
                isRequired ? "files and directories" : "else all of the project");
}

LocalFiles& FileCommand::local() const {
  if (!local_) local_.emplace(*session_, use_);
  return *local_;
}

Subject FileCommand::about(const FileRecord& file, const std::string& revision) const {
  return {.file = shownPath(file), .archive = file.archive, .revision = revision};
}

size_t FileCommand::forEach(const Files& files, const Step& step) const {
  return forEachFile(session(), name_, files, step);
}

void FileCommand::beSure(const std::string& question) const {
  cli::beSure(session(), name_, question, isDry_);
}

std::string FileCommand::said(const Verb& verb) const {
  return isDry_ ? fmt::format("would {}", verb.plain) : verb.done;
}

void FileCommand::tell(const FileRecord& file, const std::string& said, const std::string& number,
                       std::string_view rest, const Fields& more) const {
  Fields item{{"file", file.path}, {"action", said}, {"revision", orNull(number)}};
  item.insert(item.end(), more.begin(), more.end());
  output().result(item, fmt::format("{} {}{}{}{}", said, shownPath(file), number.empty() ? "" : " ",
                                    number, rest));
}

void FileCommand::tellCount(size_t count, const Verb& verb, std::string_view rest) const {
  const std::string deed = isDry_ ? fmt::format("to {}", verb.plain) : verb.done;
  output().line(fmt::format("{} {}{}", counted(count, "file"), deed, rest));
}

size_t forEachFile(Session& session, std::string_view command,
                   const std::vector<const FileRecord*>& files,
                   const std::function<void(const FileRecord& file)>& step) {
  size_t failed = 0;
  for (const FileRecord* file : files) {
    try {
      step(*file);
    } catch (const Problem& problem) {
      session.output().problem(problem);
      ++failed;
    }
  }
  if (failed > 0 && files.size() > 1) {
    session.output().problem(
        {std::string(command),
         fmt::format("{} of {} failed", number(failed), counted(files.size(), "file")), ""});
  }
  return files.size() - failed;
}

void beSure(Session& session, std::string_view command, const std::string& question, bool isDry) {
  if (isDry || session.output().ask(question)) return;
  throw Problem{std::string(command), "nothing was changed", "'--yes' says that it is sure",
                Exit::kCancelled};
}

}  // namespace cli
