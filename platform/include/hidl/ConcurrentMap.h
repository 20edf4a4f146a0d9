// A std::map guarded by one mutex, used for the process-wide tables (the
// constructor maps among them) that any thread may read or change.
#pragma once

#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace android {
namespace hardware {

template <typename K, typename V>
class ConcurrentMap {
    using map_type = std::map<K, V>;

  public:
    using size_type = typename map_type::size_type;
    using iterator = typename map_type::iterator;
    using const_iterator = typename map_type::const_iterator;

    // Inserts the key if it is missing and move-assigns the value. The value
    // that was replaced is destroyed after the lock is released, so its
    // destructor may use this map again without deadlocking.
    void set(K&& k, V&& v) {
        [[maybe_unused]] V old;
        {
            std::unique_lock<std::mutex> _lock(mMutex);
            V& slot = mMap[std::move(k)];
            old = std::move(slot);
            slot = std::move(v);
        }
    }

    // A copy of the value under k, or def when there is none.
    V get(const K& k, const V& def) const {
        std::unique_lock<std::mutex> _lock(mMutex);
        auto it = mMap.find(k);
        return it == mMap.end() ? def : it->second;
    }

    bool contains(const K& k) const {
        std::unique_lock<std::mutex> _lock(mMutex);
        return mMap.find(k) != mMap.end();
    }

    // Removes the entry if there is one; the value is destroyed outside the
    // lock as in set().
    size_type erase(const K& k) {
        [[maybe_unused]] V old;  // declared before the lock, so destroyed after it is released
        std::unique_lock<std::mutex> _lock(mMutex);
        auto it = mMap.find(k);
        if (it == mMap.end()) return 0;
        old = std::move(it->second);
        mMap.erase(it);
        return 1;
    }

    size_type size() const {
        std::unique_lock<std::mutex> _lock(mMutex);
        return mMap.size();
    }

    // A consistent copy of all entries, for iterating without holding the lock.
    std::vector<std::pair<K, V>> snapshot() const {
        std::unique_lock<std::mutex> _lock(mMutex);
        return std::vector<std::pair<K, V>>(mMap.begin(), mMap.end());
    }

    // For several steps under one lock: take lock() and use the *Locked
    // functions and the iterators while holding it.
    std::unique_lock<std::mutex> lock() const { return std::unique_lock<std::mutex>(mMutex); }

    void setLocked(K&& k, V&& v) { mMap[std::move(k)] = std::move(v); }
    void setLocked(K&& k, const V& v) { mMap[std::move(k)] = v; }
    const V& getLocked(const K& k, const V& def) const {
        auto it = mMap.find(k);
        return it == mMap.end() ? def : it->second;
    }
    size_type eraseLocked(const K& k) { return mMap.erase(k); }

    iterator begin() { return mMap.begin(); }
    iterator end() { return mMap.end(); }
    const_iterator begin() const { return mMap.begin(); }
    const_iterator end() const { return mMap.end(); }

  private:
    mutable std::mutex mMutex;
    map_type mMap;
};

}  // namespace hardware
}  // namespace android
