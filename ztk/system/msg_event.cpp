#include "ztk/system/msg_event.h"

CZTKMsgEvent::CZTKMsgEvent() { XPCreate(); }
