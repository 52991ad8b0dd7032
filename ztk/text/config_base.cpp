#include "ztk/text/file_config.h"

ZTKConfigBase::ZTKConfigBase(const ZTKString& /*root*/, const ZTKString& /*name*/) {}

ZTKConfigBase::~ZTKConfigBase() = default;

bool ZTKConfigBase::Flush() { return true; }
