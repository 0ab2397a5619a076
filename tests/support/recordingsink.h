// support/recordingsink.h: a sink that writes down what it is told and answers as a test wants.
#pragma once

#include <functional>
#include <string>

#include "core/handle.h"
#include "core/sink.h"

namespace support {

class RecordingSink : public foldapi::TVErrorSink {
 public:
  using Handle = foldapi::TVHandle;
  using Text = foldapi::VString;

  int answer = 1;                    // To every question.
  std::string answerText;            // Is given with it.
  std::function<int(int)> onRetry;   // Answers wait notices by their kind, if set.
  std::function<void()> onQuestion;  // What happens before askString() answers, if set.
  const Handle* context = nullptr;   // Of the last call.

  // What was told since the last look, one line each: the operation, then its arguments.
  std::string told() { return std::exchange(log_, ""); }

  int canContinue(Handle& from) override { return note(from, "continue"); }
  int canRetry(Handle& from, int kind, const foldapi::VPathString& path) override {
    note(from, "retry " + std::to_string(kind) + " " + path.str());
    return onRetry ? onRetry(kind) : answer;
  }
  int sinkKind(Handle& from, const Text& text, int code) override {
    return note(from, "output " + std::to_string(code) + " " + text.str());
  }
  void notice(Handle& from, const Text& text) override { note(from, "notice " + text.str()); }
  void alert(Handle& from) override { note(from, "alert"); }
  void error(Handle& from, const Text& text) override { note(from, "error " + text.str()); }
  int confirm(Handle& from, const Text& first, const Text& second, Text* out) override {
    *out = answerText;
    return note(from, "confirm " + first.str() + "|" + second.str());
  }
  int confirmSecond(Handle& from, const Text& first, const Text& second, Text* out) override {
    *out = answerText;
    return note(from, "confirm2 " + first.str() + "|" + second.str());
  }
  int askString(Handle& from, const Text& text, int value, Text*) override {
    if (onQuestion) onQuestion();
    return note(from, "ask " + std::to_string(value) + " " + text.str());
  }
  void notifyFour(Handle& from, const Text& a, const Text& b, const Text& c, const Text& d,
                  int value) override {
    note(from, "four " + a.str() + "|" + b.str() + "|" + c.str() + "|" + d.str() + "|" +
                   std::to_string(value));
  }
  void notifyTwo(Handle& from, const Text& a, const Text& b, int value) override {
    note(from, "two " + a.str() + "|" + b.str() + "|" + std::to_string(value));
  }

 private:
  int note(Handle& from, const std::string& line) {
    context = &from;
    log_ += line + "\n";
    return answer;
  }

  std::string log_;
};

}  // namespace support
