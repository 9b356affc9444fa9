// Checked handles: a table from opaque handles to the objects behind them.
//
// A handle is a running number with the table's kind in its low byte, never an address: garbage, handles of another
// table and handles that were already given back are told apart from live ones and never touched as memory. Numbers are
// not used twice. Tables are meant to be leaked singletons, so that static objects may still give handles back at exit.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace qel {

enum class HandleKind : std::uintptr_t { kGdiObject = 1, kDeviceContext = 2, kWindow = 3, kModule = 4 };

template <class Handle, class Object>
class HandleTable {
 public:
  explicit HandleTable(HandleKind kind) : m_kind(kind) {}

  Handle Add(std::shared_ptr<Object> object) {
    std::lock_guard lock(m_mutex);
    const std::uintptr_t key = ++m_last << 8 | static_cast<std::uintptr_t>(m_kind);
    m_objects.emplace(key, std::move(object));
    return reinterpret_cast<Handle>(key);
  }

  /// The object, null for a handle that is not live. It stays alive while the caller holds it.
  std::shared_ptr<Object> Find(Handle handle) const {
    std::lock_guard lock(m_mutex);
    const auto it = m_objects.find(reinterpret_cast<std::uintptr_t>(handle));
    return it != m_objects.end() ? it->second : nullptr;
  }

  /// Takes the handle out and gives the object back; null for a handle that is not live.
  std::shared_ptr<Object> Remove(Handle handle) {
    std::lock_guard lock(m_mutex);
    const auto it = m_objects.find(reinterpret_cast<std::uintptr_t>(handle));
    if (it == m_objects.end()) return nullptr;
    std::shared_ptr<Object> object = std::move(it->second);
    m_objects.erase(it);
    return object;
  }

  /// Every live handle with its object, oldest first.
  std::vector<std::pair<Handle, std::shared_ptr<Object>>> All() const {
    std::lock_guard lock(m_mutex);
    std::vector<std::pair<Handle, std::shared_ptr<Object>>> all;
    for (const auto &[key, object] : m_objects) all.emplace_back(reinterpret_cast<Handle>(key), object);
    return all;
  }

 private:
  const HandleKind m_kind;
  mutable std::mutex m_mutex;
  std::uintptr_t m_last = 0;
  std::map<std::uintptr_t, std::shared_ptr<Object>> m_objects;
};

}  // namespace qel
