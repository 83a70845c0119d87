/* A library that opens libttydb before the program runs. */
#include <dlfcn.h>

__attribute__((constructor)) static void open_library(void) { dlopen(LIBRARY, RTLD_NOW); }
