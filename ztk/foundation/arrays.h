#pragma once

#include "ztk/export.h"
#include "ztk/foundation/string.h"
#include "ztk/foundation/text_file_type.h"

/// A growable array of untyped pointers; three hooks decide how an element is destroyed, compared
/// and copied.
class ZTK_API ZTKPtrArr {
 public:
  static constexpr unsigned long kMaxCount = 0x1FFFFFFE;

  ZTKPtrArr() noexcept = default;
  ZTKPtrArr(const ZTKPtrArr& src);
  virtual ~ZTKPtrArr();
  virtual void DataDelete(void* p);
  virtual bool DataEqual(const void* pA, const void* pB);
  virtual void DataCopy(void** ppSrc, unsigned long n);

  ZTKPtrArr& Init() noexcept;
  void Add(void* p, unsigned long nCount);
  void Insert(void* p, unsigned long nIndex);
  void RemoveAt(unsigned long nIndex, unsigned long nCount);
  void Remove(const void* p);
  long Index(const void* p, int bFromEnd);
  void*& Item(unsigned long i) noexcept;
  void* Item(unsigned long i) const noexcept;
  void*& Last() noexcept;
  void RemoveAll();
  void Clear();
  void Alloc(unsigned long n);
  bool Realloc(unsigned long n);
  void Grow(unsigned long nAdd);
  void Shrink();
  void Attach(ZTKPtrArr& other, int bTakeOwnership);
  ZTKPtrArr& Release() noexcept;
  ZTKPtrArr& Detach() noexcept;
  void DoCopy(const ZTKPtrArr& src);
  ZTKPtrArr& operator=(const ZTKPtrArr& src);

  unsigned long GetCount() const noexcept { return m_nCount; }
  unsigned long GetCapacity() const noexcept { return m_nCapacity; }
  void** GetItems() const noexcept { return m_ppItems; }
  bool IsAttached() const noexcept { return m_bAttached != 0; }

  void* const* begin() const noexcept { return m_ppItems; }
  void* const* end() const noexcept { return m_ppItems + m_nCount; }

 private:
  unsigned long m_nCapacity = 0;
  unsigned long m_nCount = 0;
  void** m_ppItems = nullptr;
  int m_bAttached = 0;
};

// These two arrays have one virtual operation and no virtual destructor: they are never deleted
// through a base.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// An ordered array of strings; it owns a copy of each.
class ZTK_API ZTKStringArray {
 public:
  ZTKStringArray();
  ZTKStringArray(const ZTKStringArray& other);
  ~ZTKStringArray();
  ZTKStringArray& operator=(const ZTKStringArray& other);

  void* DataCreate(const ZTKString& s);
  virtual void DataDelete(void* p);

  void Add(const ZTKString& s, unsigned long nCount);
  void Insert(const ZTKString& s, unsigned long nIndex);
  void RemoveAt(unsigned long nIndex, unsigned long nCount);
  long Index(const ZTKString& s, int bFromEnd) const;
  void Remove(const ZTKString& s);
  void DoCopyArr(const ZTKStringArray& other);
  unsigned long GetCount() const noexcept;
  /// The string at `i`. Past the end: a shared empty string.
  const ZTKString& Item(unsigned long i) const noexcept;
  ZTKString& Item(unsigned long i) noexcept;
  // begin(), end() over const ZTKString&

 private:
  ZTKPtrArr* m_pInner;
};

/// An ordered array of line-end types.
class ZTK_API ZTKArrayLinesType {
 public:
  ZTKArrayLinesType();
  ZTKArrayLinesType(const ZTKArrayLinesType& other);
  ~ZTKArrayLinesType();
  ZTKArrayLinesType& operator=(const ZTKArrayLinesType& other);

  void* DataCreate(ZTKTextFileType type);
  virtual void DataDelete(void* p);

  void Add(ZTKTextFileType type, unsigned long nCount);
  void Insert(ZTKTextFileType type, unsigned long nIndex);
  void RemoveAt(unsigned long nIndex, unsigned long nCount);
  long Index(ZTKTextFileType type, int bFromEnd) const;
  void Remove(ZTKTextFileType type);
  void DoCopyArr(const ZTKArrayLinesType& other);
  unsigned long GetCount() const noexcept;
  /// The type at `i`; EOL_NONE past the end.
  ZTKTextFileType Item(unsigned long i) const noexcept;

 private:
  ZTKPtrArr* m_pInner;
};

#pragma GCC diagnostic pop

/// The entries of a configuration group. It does not own them.
class ZTK_API ZTKArrayEntries : public ZTKPtrArr {
 public:
  ~ZTKArrayEntries() override;
};

/// The child groups of a configuration group. It does not own them.
class ZTK_API ZTKArrayGroups : public ZTKPtrArr {
 public:
  ~ZTKArrayGroups() override;
};
