#include "ztk/config/file_config.h"

ZTKConfigBase::ZTKConfigBase(const ZTKString& /*root*/, const ZTKString& /*name*/) {}

ZTKConfigBase::~ZTKConfigBase() = default;

bool ZTKConfigBase::Flush() { return true; }
