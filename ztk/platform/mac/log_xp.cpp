#include "ztk/log/log.h"

// The platform shows no failed assertion.
void XPOnAssert(const char*, long, const char*, const char*) {}
