/* kstrinin.h: reads and writes the profile, an INI file of sections, keys and values.
 *
 * Paths      operating system paths, NUL-terminated, not kept.
 * Sections   named with their brackets: "[TRVSGUI]". Sections and keys are told apart without
 *            regard to the case of A to Z. A line that begins with ";" or "#" is a comment.
 * Values     without the blanks around them; one pair of double quotes around a value is dropped.
 *            A value is put in quotes on writing where it would not be read back as it is.
 * Failure    each function gives 0; KSTRIniGetError() then tells why:
 *             0  the section or the key is missing      -7  not a key: empty, or with "=" or a
 *            -1  not an open handle                          line end, or like a comment
 *            -2  out of memory                          -8  a value with a line end
 *            -3  the file can't be read                -10  no buffer, or one of size 0
 *            -4  the file can't be opened              -12  not a profile: it holds a NUL, or is
 *            -5  the file can't be written                  larger than 16 MB
 *            -6  not a section name: not in brackets
 *            -9, -11 and -13 are not given.
 * Threads    any; a handle is used by one thread at a time. The error belongs to the thread. */
#ifndef KSTRININ_KSTRININ_H_
#define KSTRININ_KSTRININ_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Puts the path of the user's profile into `buffer` of `size` bytes, NUL included: the file that
 * KSTR_INI in the environment names, else trevault/KSTR.INI under the user's configuration
 * directory. In a program with rights that its user has not (set-user-id, set-group-id,
 * capabilities from its file) the environment doesn't count: the directory is .config in the home
 * of the effective user's account, and there is none if that user is the one who started the
 * program. The file need not exist. Gives 0 if the path doesn't fit or there is no home. */
int KSTRGetKESTRIANINI(char* buffer, uint32_t size);

/* Reads the profile at `path`. One that doesn't exist is an empty one and is made by the first
 * write. Gives a handle for KSTRIniClose(), or 0. */
intptr_t KSTRIniOpen(const char* path);

/* Gives 0 for what is not an open handle. */
int KSTRIniClose(intptr_t handle);

/* Copies the value of `key` into `buffer` of `size` bytes, NUL included, cut to fit. Answers from
 * what KSTRIniOpen() read and this handle wrote. The buffer is left alone on failure. */
int KSTRQueryProfileString(intptr_t handle, const char* section, const char* key, char* buffer,
                           uint16_t size);

/* Sets the value of `key` in the file as it stands now, which may be newer than what was opened.
 * Everything else in the file stays byte for byte; new lines end in CR LF. All or nothing: a kill
 * at any moment leaves the old file or the new one. Directories of the path are made. */
int KSTRWriteProfileString(intptr_t handle, const char* section, const char* key,
                           const char* value);

/* The error of this thread's last call of the other functions: negative, or 0. */
int KSTRIniGetError(void);

#ifdef __cplusplus
}
#endif

#endif /* KSTRININ_KSTRININ_H_ */
