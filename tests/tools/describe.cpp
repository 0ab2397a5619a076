// describe: writes to a file all that the C interface tells about the database that the profile
// names: describe FILE. Standard output is where the library's assertions go.
#include "support/describe.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  support::writeFile(argv[1], support::describeRoot(Init("", "")));
  return 0;
}
