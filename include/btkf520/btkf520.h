/* btkf520.h: the archive toolkit: configuration, users and promotion models.
 *
 * Plain C99. Every function gives a status: 0 for success, 8 for a buffer that is too small, else a
 * code of the toolkit's message table. Strings in are NUL-terminated and not kept. */
#ifndef BTKF520_BTKF520_H
#define BTKF520_BTKF520_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define TRVS_EXPORT __attribute__((visibility("default")))

TRVS_EXPORT int32_t TrvsInit(const char* application);
TRVS_EXPORT int32_t TrvsOEMEnable(void);

typedef int32_t (*TrvsCallback)(void);
TRVS_EXPORT int32_t TrvsRegisterCallback(int32_t id, TrvsCallback callback);

typedef int32_t (*TrvsPathResolver)(const char* text, char* buffer, int32_t size);
TRVS_EXPORT int32_t TrvsRegisterPathResolver(TrvsPathResolver resolver);

TRVS_EXPORT int32_t TrvsGetUserInfo(char* user, int32_t userSize, char* second, int32_t secondSize,
                                    int16_t* kind);
TRVS_EXPORT int32_t TrvsQueryConfiguration(const char* path, int32_t reserved1, int32_t reserved2,
                                           int32_t readMode);
TRVS_EXPORT int32_t TrvsQueryConfigurationItem(int32_t item, char* buffer, int32_t size);
TRVS_EXPORT int32_t TrvsVerifyPromoTreeNodeExist(const char* group, int16_t* kind);

#ifdef __cplusplus
}
#endif

#endif
