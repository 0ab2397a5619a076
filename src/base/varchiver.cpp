// base/varchiver.cpp: the archive's text form, both ways.
#include "base/varchiver.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace foldapi {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr char kObject = 'A';
constexpr char kNewClass = 'c';
constexpr char kKnownClass = 'C';
constexpr char kShared = 'o';

}  // namespace

void VArchiver::putNumber(int32_t value) { output_.append(std::to_string(value)).append(kLineEnd); }

void VArchiver::putString(std::string_view value) {
  putNumber(static_cast<int32_t>(value.size()));
  if (!value.empty()) output_.append(value).push_back('\0');
}

void VArchiver::putHead(const VClassRecord& record) {
  output_.push_back(kObject);
  const auto known = std::find(classes_.begin(), classes_.end(), &record);
  if (known == classes_.end()) {
    classes_.push_back(&record);
    output_.append(1, kNewClass).append(record.name).append(kLineEnd);
  } else {
    output_.push_back(kKnownClass);
    putNumber(static_cast<int32_t>(known - classes_.begin()));
  }
  output_.push_back(kShared);
}

bool VArchiver::getByte(char wanted) {
  if (input_.empty() || input_.front() != wanted) return false;
  input_.remove_prefix(1);
  return true;
}

bool VArchiver::getLine(std::string_view* line) {
  const size_t end = input_.find(kLineEnd);
  if (end == std::string_view::npos) return false;
  *line = input_.substr(0, end);
  input_.remove_prefix(end + kLineEnd.size());
  return true;
}

bool VArchiver::getNumber(int32_t* value) {
  // No search for the line end: in a damaged text it may be far away.
  int64_t number = 0;
  const char* const end = input_.data() + input_.size();
  const auto [stop, error] = std::from_chars(input_.data(), end, number);
  if (error != std::errc() || number < std::numeric_limits<int32_t>::min() ||
      number > std::numeric_limits<uint32_t>::max()) {
    return false;
  }
  input_.remove_prefix(static_cast<size_t>(stop - input_.data()));
  if (!input_.starts_with(kLineEnd)) return false;
  input_.remove_prefix(kLineEnd.size());
  *value = static_cast<int32_t>(number);  // The upper half of 32 bits may be written either way.
  return true;
}

bool VArchiver::getNumber(uint32_t* value) {
  int32_t number = 0;
  if (!getNumber(&number)) return false;
  *value = static_cast<uint32_t>(number);
  return true;
}

bool VArchiver::getString(VString* value) {
  int32_t length = 0;
  if (!getNumber(&length) || length < 0) return false;
  const auto size = static_cast<size_t>(length);
  if (size == 0) {
    value->clear();
    return true;
  }
  if (size >= input_.size() || input_.find('\0') != size) return false;
  value->clear();
  value->append(input_.substr(0, size));
  input_.remove_prefix(size + 1);
  return true;
}

bool VArchiver::getHead(const VClassRecord& record) {
  if (!getByte(kObject)) return false;
  int32_t index = 0;
  if (getByte(kNewClass)) {
    std::string_view name;
    if (!getLine(&name) || name != record.name) return false;
    classes_.push_back(&record);
  } else if (!getByte(kKnownClass) || !getNumber(&index) || index < 0 ||
             static_cast<size_t>(index) >= classes_.size() ||
             classes_[static_cast<size_t>(index)] != &record) {
    return false;
  }
  return getByte(kShared);
}

}  // namespace foldapi
