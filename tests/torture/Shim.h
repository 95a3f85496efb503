/* What a program under the preloaded shim (Shim.c) may use. It looks the functions up by name,
 * since without the shim they do not exist. */
#ifndef TESTS_TORTURE_SHIM_H
#define TESTS_TORTURE_SHIM_H

/* The page that the shim shares with the process that started the program. */
struct TVShimReport {
    unsigned calls; /* how many calls of the family it counted */
    unsigned fired; /* whether one was made to fail: 0 or 1 */
};

#ifdef __cplusplus
extern "C" {
#endif
/* Counts from 0 again, from now to tvshim_disarm. */
void tvshim_arm(void);
void tvshim_disarm(void);
/* Returns the number of blocks of memory that are allocated now. */
long tvshim_live(void);
#ifdef __cplusplus
}
#endif

#endif
