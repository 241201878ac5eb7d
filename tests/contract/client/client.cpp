// The same in C++.
#include "client.c"
