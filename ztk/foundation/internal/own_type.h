#pragma once

#include <cstring>

/// Tells objects of a class itself from those of its subclasses; not installed.
///
/// The first word of an object with virtual operations leads to those of its class, and while a
/// constructor runs to those of the constructor's. The class keeps that word and compares later.
/// `typeid` would not do: subclasses may be compiled without type information.
class ZTKOwnType {
 public:
  /// To be made in a constructor of the class, from `this`.
  explicit ZTKOwnType(const void* pObject) noexcept : m_operations(Operations(pObject)) {}

  /// Whether the object is of the class itself. In its constructors and destructor always.
  bool IsTypeOf(const void* pObject) const noexcept { return Operations(pObject) == m_operations; }

 private:
  static const void* Operations(const void* pObject) noexcept {
    const void* operations;
    std::memcpy(&operations, pObject, sizeof operations);
    return operations;
  }

  const void* m_operations;
};
