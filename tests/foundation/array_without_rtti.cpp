// Compiled without type information, as some programs are.

#include "ztk/foundation/arrays.h"

unsigned long CountDeletedWithoutRtti();

namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // As the class it derives from.
class DeletingArray : public ZTKStringArray {
 public:
  void DataDelete(void* p) override {
    delete static_cast<ZTKString*>(p);
    ++deleted;
  }
  unsigned long deleted = 0;
};
#pragma GCC diagnostic pop

}  // namespace

unsigned long CountDeletedWithoutRtti() {
  DeletingArray array;
  array.Add("text", 5);
  array.RemoveAt(0, 3);
  return array.deleted;
}
