// A constant in an exported class is part of the DLL only if the DLL uses its address; a program
// that does, as by std::min, would not link. So it is used here.
#include "ztk/config/file_config.h"
#include "ztk/foundation/pointer_array.h"
#include "ztk/foundation/string.h"
#include "ztk/stream/stream_buffer.h"
#include "ztk/system/date_time.h"
#include "ztk/system/event_loop.h"

namespace {

[[gnu::used]] const void* const kConstants[] = {
    &ZTKDateTime::TIME_T_FACTOR, &ZTKEventLoop::kCoalesceFrom,   &ZTKEventLoop::kMaxSlackNs,
    &ZTKEventLoop::kSlackShare,  &ZTKFileConfig::kLockTimeoutMs, &ZTKFileConfig::kMaxSize,
    &ZTKPtrArr::kMaxCount,       &ZTKStreamBuffer::kBlockStep,   &ZTKStreamBuffer::kLargestSize,
    &ZTKString::kMaxBlock,       &ZTKString::kMaxLength,
};

}  // namespace
