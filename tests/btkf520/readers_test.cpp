// btkf520/readers_test.cpp: readers without locks beside a writer that adds parts, takes some of
// them back, and writes the file anew.
//
// What the archive says is a function of the number of the writer's step. So whatever a reader is
// told must be right for one of the steps that were under way while it asked.
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <functional>
#include <iterator>
#include <new>
#include <random>

#include "btkf520/archives.h"
#include "os/systemcalls.h"
#include "support/childprocess.h"
#include "toolkit/archiveinfo.h"

namespace btkf520_test {
namespace {

using support::ChildProcess;

// What one round of steps does, for each revision. kFailed takes back what kFails has added.
enum Kind { kDescribe, kLock, kCheckIn, kFails, kFailed, kLabel, kDelete, kKinds };
constexpr int kKept = 8;    // Revisions, after each round.
constexpr int kReads = 40;  // Of each reader.

std::string numberOf(int revision) { return "1." + std::to_string(revision); }

// Nothing that gets smaller when it is packed.
std::string contentOf(int revision) {
  std::mt19937 random(static_cast<unsigned>(revision));
  std::string text = std::to_string(revision) + "\n";
  for (int left = 40000 + revision % 7 * 3000; left > 0; --left) {
    const auto word = static_cast<uint32_t>(random());
    text.append(reinterpret_cast<const char*>(&word), sizeof word);
  }
  return text;
}

// From a part of a few bytes to one that takes several reads.
std::string descriptionOf(int revision) {
  return std::to_string(revision) + "-" +
         std::string(static_cast<size_t>(revision % 4 * 2000),
                     static_cast<char>('a' + revision % 26));
}

// What the archive says after a step.
struct State {
  explicit State(int step) : last(step / kKinds), kind(static_cast<Kind>(step % kKinds)) {}

  int last;  // The revision that this round brings.
  Kind kind;

  int newest() const { return kind >= kCheckIn ? last : last - 1; }
  int oldest() const { return std::max(0, last - kKept + (kind == kDelete ? 1 : 0)); }
  int newestLabel() const { return kind >= kLabel ? last : last - 1; }
  int locks() const { return kind == kLock ? 1 : 0; }
  int count() const { return newest() - oldest() + 1; }
  std::string description() const {
    return kind == kFails ? "failed" + descriptionOf(3) : descriptionOf(last);
  }

  std::string tree() const {
    std::string text;
    for (int i = oldest(); i <= newest(); ++i) {
      text += (text.empty() ? "" : " ") + numberOf(i) + (i == oldest() ? "^" : "");
      if (locks() > 0 && i == newest()) text += "!ann";
      if (i > 0 && i <= newestLabel()) text += "#L" + std::to_string(i);
    }
    return text;
  }
  std::string contents() const {
    std::string text;
    for (int i = oldest(); i <= newest(); ++i) {
      text += numberOf(i) + " " + std::to_string(contentOf(i).size()) + " ";
    }
    return text;
  }
  std::string summary() const {
    return std::to_string(count()) + (locks() > 0 ? " 1 ann " : " 0 ") + description();
  }
};

class Readers : public Archives {
 protected:
  // Seen by all processes.
  struct Progress {
    std::atomic<int> begun{kDelete}, done{kDelete};  // Steps.
    std::atomic<int> added{0}, replaced{0};
    std::atomic<bool> isEnough{false};
  };

  void SetUp() override {
    Archives::SetUp();
    void* const memory = ::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    progress_ = new (memory) Progress;
    answerQuestions();
  }

  // A part of a call may be seen by others, and what they see may be gone when they look again.
  static void letOthersRun(unsigned milliseconds, std::mt19937* random) {
    ::usleep(static_cast<useconds_t>((*random)() % 1000 * milliseconds));
  }

  // Does the steps until the readers have seen enough, and both ways of writing were taken.
  int write() {
    int syncs = 0;  // Until one fails.
    std::mt19937 random(1);
    const os_test::SystemCalls calls([&](const os_test::Call& call) {
      const bool isSync = call.name == "fdatasync" || call.name == "fsync";
      if (isSync || call.name == "ftruncate") letOthersRun(syncs > 0 ? 9 : 1, &random);
      return isSync && --syncs == 0 ? EIO : 0;
    });
    struct stat before {
    }, now{};
    for (int step = kKinds;
         !progress_->isEnough || progress_->added < 50 || progress_->replaced < 20; ++step) {
      const State state(step);
      progress_->begun = step;
      stat(archive().c_str(), &before);
      // A wide part is synced twice, and may be whole in the file before the second one.
      if (state.kind == kFails) syncs = 1 + step % 2;
      const int32_t status = run(state);
      syncs = 0;
      if (status != (state.kind == kFails ? TRVS_CANNOT_WRITE : TRVS_DONE)) return status + 100;
      if (state.kind == kFails) progress_->begun = ++step;
      stat(archive().c_str(), &now);
      if (now.st_ino != before.st_ino) ++progress_->replaced;
      if (now.st_ino == before.st_ino && now.st_size > before.st_size) ++progress_->added;
      progress_->done = step;
    }
    return 0;
  }
  int32_t run(const State& state) {
    const std::string number = std::to_string(state.last);
    switch (state.kind) {
      case kLock:
        return TrvsLockWithNote(TRVS_CONTEXT, archive().c_str(), nullptr, nullptr, number.c_str());
      case kCheckIn:
        return put(contentOf(state.last), {.change = number.c_str()});
      case kLabel:
        return label(("L" + number).c_str(), numberOf(state.last).c_str());
      case kDelete:
        return state.last < kKept ? TRVS_DONE : deleteRange(numberOf(state.last - kKept).c_str());
      default:
        return TrvsSetDescription(TRVS_CONTEXT, archive().c_str(), nullptr,
                                  state.description().c_str());
    }
  }

  struct Question {
    const char* what;
    std::function<std::string()> ask;
    std::function<std::string(const State&)> answer;
  };
  // Whether what is told was right at some time meanwhile.
  void check(const Question& question) {
    const int first = progress_->done;
    const std::string told = question.ask();
    const int last = progress_->begun;
    for (int step = first; step <= last; ++step) {
      if (question.answer(State(step)) == told) return;
    }
    ADD_FAILURE() << question.what << " between " << first << " and " << last << ": "
                  << support::escaped(told.substr(0, 300)) << "\nbut first "
                  << support::escaped(question.answer(State(first)).substr(0, 300));
  }

  std::string contents() const {
    std::string buffer, result;
    if (const int32_t status = grown(&buffer, [&](char* bytes, int32_t size) {
          return TrvsListContents(TRVS_CONTEXT, archive().c_str(), nullptr, bytes, size);
        })) {
      return statusText(status);
    }
    int place = 0;
    for (const char* text = buffer.data(); *text != '\0' || place % 5 != 0; ++place) {
      if (place % 5 < 2) result.append(text).append(" ");
      text += std::strlen(text) + 1;
    }
    return result;
  }
  std::string logged() const {
    lines.clear();
    if (const int32_t status = TrvsLog(TRVS_CONTEXT, archive().c_str(), nullptr, nullptr, nullptr,
                                       nullptr, nullptr, nullptr, nullptr, nullptr, 0)) {
      return statusText(status);
    }
    std::string result;
    int revisions = 0;
    for (const std::string& line : lines) {
      for (const char* name : {"Locks:", "Revisions:"}) {
        const size_t place = line.find(name);
        if (place != std::string::npos) result += line.substr(line.rfind(' ')) + " ";
      }
      if (line.find("Checked in:") != std::string::npos) ++revisions;
    }
    return result + std::to_string(revisions);
  }
  std::string tip(const std::string& out) const {
    const int32_t status = getTo(archive() + "(" + out + ")", TRVS_GET_OVERWRITE);
    return status == TRVS_DONE ? support::readFile(out) : statusText(status);
  }
  // Looks at the file again only when it says that it has changed.
  static std::string told(foldapi::TVArchiveInfo52* summary) {
    if (!summary->IsCurrent() && summary->Load() != 0) return "not an archive";
    const foldapi::ArchiveSummary& all = summary->summary();
    return std::to_string(all.revisionCount) + " " + std::to_string(all.lockCount) + " " +
           all.lockers.str() + (all.lockCount > 0 ? " " : "") + all.description.str();
  }

  int read(int reader) {
    foldapi::TVArchiveInfo52 summary(foldapi::VPathString(archive().c_str()));
    const std::string out = path("out" + std::to_string(reader));
    int number = 0;
    const Question askSummary = {"summary", [&] { return told(&summary); },
                                 [](const State& state) { return state.summary(); }};
    const Question questions[] = {
        {"tree", [&] { return tree(); }, [](const State& state) { return state.tree(); }},
        {"contents", [&] { return contents(); },
         [](const State& state) { return state.contents(); }},
        {"tip", [&] { return tip(out); },
         [](const State& state) { return contentOf(state.newest()); }},
        askSummary,
        {"log", [&] { return logged(); },
         [](const State& state) {
           const std::string count = std::to_string(state.count());
           return " " + count + "  " + std::to_string(state.locks()) + " " + count;
         }},
        {"verify", [&] { return statusText(verify()); },
         [](const State&) { return statusText(TRVS_DONE); }},
        {"revision", [&] { return contentIn(archive(), numberOf(number)); },
         [&](const State& state) {
           const bool isThere = state.oldest() <= number && number <= state.newest();
           return isThere ? contentOf(number) : statusText(TRVS_NO_REVISION);
         }},
        askSummary,
    };
    std::mt19937 random(static_cast<unsigned>(reader));
    const os_test::SystemCalls calls([&](const os_test::Call& call) {
      if (call.name == "pread") letOthersRun(3, &random);
      return 0;
    });
    for (int round = reader; round < kReads + reader && !HasFailure(); ++round) {
      number = State(progress_->done).oldest() + 1;
      check(questions[static_cast<size_t>(round) % std::size(questions)]);
    }
    return HasFailure() ? 1 : 0;
  }

  Progress* progress_ = nullptr;
};

TEST_F(Readers, GetNoWrongAnswersBesideAWriter) {
  Archives::write("m.c", contentOf(0));
  ASSERT_EQ(createWithRevision({.description = descriptionOf(0).c_str()}), TRVS_DONE);
  ChildProcess writer([&](ChildProcess&) { return write(); });
  const auto readers =
      support::startProcesses(3, [&](int reader, ChildProcess&) { return read(reader * 3); });
  for (const auto& reader : readers) EXPECT_EQ(reader->finish(), 0);
  progress_->isEnough = true;
  EXPECT_EQ(writer.finish(), 0);
  RecordProperty("added", progress_->added);
  RecordProperty("replaced", progress_->replaced);
  EXPECT_EQ(tree(), State(progress_->done).tree());
  EXPECT_EQ(verify(), TRVS_DONE);
}

}  // namespace
}  // namespace btkf520_test
