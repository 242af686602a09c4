#pragma once

// The C header names a structure member with a C++ keyword.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
