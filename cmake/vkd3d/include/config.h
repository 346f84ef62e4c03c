/* What the library asks about the host it is built on, answered for GCC or Clang on Linux. */
#define PACKAGE_NAME "vkd3d"
#define PACKAGE_STRING "vkd3d 1.14"
#define PACKAGE_VERSION "1.14"
#define HAVE_ATOMIC_EXCHANGE_N 1
#define HAVE_BUILTIN_ADD_OVERFLOW 1
#define HAVE_BUILTIN_CLZ 1
#define HAVE_PTHREAD_H 1
#define HAVE_SYNC_ADD_AND_FETCH 1
#define HAVE_SYNC_BOOL_COMPARE_AND_SWAP 1
