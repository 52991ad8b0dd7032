#include "ztk/system/event.h"

ZTKEvent::~ZTKEvent() = default;
