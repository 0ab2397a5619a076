// A client in C++ of both libraries: prints the projects of the database that the profile names,
// and gives 1 if a header is not its library's.
#include <btkf520/btkf520.h>
#include <foldapi/foldapi.h>

#include <iostream>

int main() {
  if (TrvsVersion() != TRVS_VERSION || FoldapiVersion() != FOLDAPI_VERSION) return 1;
  TVHandle* const root = Init("", "");
  if (OpenProjectRoot(root) < 0) return 1;
  for (TVHandle* each = GetFirstProject(root); each != nullptr; each = GetNextProject(root)) {
    std::cout << GetProjectName(each) << '\n';
  }
  CloseProjectRoot(root);
}
