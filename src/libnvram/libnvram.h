/* The settings store's C interface: the only way rc reads and writes settings.
 *
 * Our own library (soname libnvram.so) is the default; a platform's own library with these six functions can take
 * its place at run time. Settings are texts: a value contains no zero byte. A key is 1 to 127 of the characters
 * A-Z a-z 0-9 _ - and '.'.
 *
 * Nothing is printed. A function that changes something waits in silence, however long another process holds the lock.
 */
#ifndef RC_LIBNVRAM_H
#define RC_LIBNVRAM_H

#ifdef __cplusplus
extern "C" {
#endif

/* Fills the working copy from flash; at the first start from the factory settings. 0, or -1 with errno set and nothing
 * changed. EBADMSG: all generations in flash are damaged. Others, such as EIO, EMFILE or ENOSPC, say that a file cannot
 * be read or written just now: flash may well be whole. */
int nvram_zel_load(void);

/* The value of a key, or NULL if the key is not set. The text belongs to the library and lives until the next
 * call of any of these functions. */
char *nvram_zel_get(const char *key);

/* A fresh copy of the value, the empty text if the key is not set; never NULL. The caller frees it. */
char *nvram_zel_safe_get(const char *key);

/* Changes the working copy only; every other process sees the new value at once. 0, or -1 with errno set and
 * nothing changed. EINVAL: no valid key; E2BIG: too long; ENOENT: no working copy; EBADMSG: the working copy has a line
 * that cannot be read and that writing would lose. */
int nvram_zel_set(const char *key, const char *value);

/* Writes the working copy to flash. 0, or -1 with errno set and the previous settings still in flash. ENODATA: the
 * working copy has no settings; EBADMSG: it has a line that cannot be read; EBUSY: a change is on trial (nvram try), and
 * only its confirmation writes flash. If only the last sync of flash's folder fails (usually EIO), flash has the new
 * settings, but a power cut may bring back the previous ones. */
int nvram_zel_commit(void);

/* The value of one key in the image file at path, or NULL. The text belongs to the library, as for nvram_zel_get. */
char *__nvram_get_fun(const char *key, const char *path);

#ifdef __cplusplus
}
#endif

#endif
