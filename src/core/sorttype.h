// core/sorttype.h: TVSortType, by what the children of one class are sorted and found.
//
// Each class takes the types that it has keys for, and any other as its default order; a comparison
// with a key says that it matches under a type that the class doesn't have.
#pragma once

namespace foldapi {

// The numbers are those that clients of the class interface know.
enum class TVSortType : int {
  kDefault = 0,  // In a find: what the list is sorted by.
  kNumber = 1,   // Items, by their ordering numbers.
  kName = 2,
  kWorkDir = 3,       // Folders; those that are private last where directories are equal.
  kPrivacy = 4,       // Folders, public ones first.
  kFullWorkPath = 5,  // Archive members from here on. The directory with that of the folders above.
  kWorkPath = 6,
  kWorkName = 7,
  kArchivePath = 8,
  kArchiveName = 9,
  // For finds alone, in a list that is sorted by the path: the key is a directory without a name.
  kWorkDirOfPath = 0x106,
  kArchiveDirOfPath = 0x108,
};

// What a list must be sorted by for a find by `type` to halve it.
constexpr TVSortType listOrderOf(TVSortType type) {
  return static_cast<TVSortType>(static_cast<int>(type) & 0xff);
}

}  // namespace foldapi
