// btkf520/operations/names.h: path texts, as far as operations look into them.
//
// A separator is "/", "\" or the ":" after a drive. What a path text means is up to the client.
#pragma once

#include <string>
#include <string_view>

namespace btkf {

// What an operation is about: "archive(workfile)", or the archive alone, then without a workfile.
// Either name may hold parentheses, so the disk is asked which one separates.
struct Target {
  std::string archive;
  std::string workfile;

  // The archive is the whole text if there is a file of that name, else the longest part before a
  // "(" that names one, else what stands before the outermost pair of parentheses at the end.
  static Target parse(std::string_view text);
};

// What follows the last separator.
std::string_view fileName(std::string_view path);

// `name` in `directory`, with the separator that `directory` has, else "/".
std::string joined(std::string_view directory, std::string_view name);

// The path text of the archive of a workfile: in the first archive directory that has it, or in the
// first of all; without archive directories the bare name.
std::string archivePathText(std::string_view workfile);

// Whether a label may have this name: like those of users and groups, and it must not read as a
// number either.
bool isGoodLabel(std::string_view name);

}  // namespace btkf
