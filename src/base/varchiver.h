// base/varchiver.h: VArchiver, values and objects as text that another run reads back.
//
// A number is its decimal form and CR LF. A text is its length as a number and, if that isn't 0,
// its bytes and a NUL. An object begins with its head: "A"; "c", the name of its class and CR LF,
// or "C" and a number for a class that was named before (they count from 0); "o". What follows is
// the class's own affair.
//
// An archiver either writes, from construction on, or reads a text that it was given. Nothing it
// reads is trusted: each get operation fails on anything but the form above, and a length never
// reaches beyond the text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/vobject.h"
#include "base/vstring.h"

namespace foldapi {

class VArchiver {
 public:
  VArchiver() = default;
  // Reads from `text`, which is not copied.
  explicit VArchiver(std::string_view text) : input_(text) {}

  void putNumber(int32_t value);
  void putString(std::string_view value);  // Without a NUL in it.
  void putHead(const VClassRecord& record);
  // What was written so far.
  const std::string& text() const { return output_; }

  // False leave the value as it was; what is read after a failure means nothing.
  [[nodiscard]] bool getNumber(int32_t* value);
  [[nodiscard]] bool getNumber(uint32_t* value);
  [[nodiscard]] bool getString(VString* value);
  // Whether the head of an object of that class comes next.
  [[nodiscard]] bool getHead(const VClassRecord& record);

 private:
  [[nodiscard]] bool getByte(char wanted);
  [[nodiscard]] bool getLine(std::string_view* line);

  std::string output_;
  std::string_view input_;                    // What is left to read.
  std::vector<const VClassRecord*> classes_;  // Those named so far.
};

}  // namespace foldapi
