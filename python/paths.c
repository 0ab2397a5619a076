/* paths.c: where the engine finds the paths that the package gives it. Part of trevault._native.
 *
 * A path of the system says exactly which file is meant, and letter case counts in it. Anything
 * else comes from a data file or a configuration, and the library knows its drives and shares. */
#include <btkf520/btkf520.h>
#include <foldapi/foldapi.h>
#include <string.h>

static int32_t trevaultResolvePath(const char* text, char* buffer, int32_t size) {
  const int isOfTheSystem = text[0] == '/' && text[1] != '/' && strchr(text, '\\') == NULL;
  const char* path = isOfTheSystem ? text : FoldapiNativePath(text);
  const size_t length = strlen(path);
  if (length == 0) return TRVS_BAD_NAME;
  if (length >= (size_t)size) return TRVS_BUFFER_TOO_SMALL;
  memcpy(buffer, path, length + 1);
  return TRVS_DONE;
}
