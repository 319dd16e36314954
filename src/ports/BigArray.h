#pragma once

#include <cstring>
#include <type_traits>
#include <utility>

#include "BigMemory.h"

// A growable array of plain records (a result table's cells, the marks of a
// text) that may reach hundreds of megabytes. Unlike std::vector it grows by
// moving its pages rather than copying them into fresh memory, which would
// have to be faulted in again (bigmemory::Grow).
template <class T>
class BigArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    BigArray() = default;
    explicit BigArray(size_t n, const T& value = T()) { assign(n, value); }
    BigArray(BigArray&& other) noexcept { swap(other); }
    BigArray& operator=(BigArray&& other) noexcept {
        BigArray(std::move(other)).swap(*this);
        return *this;
    }
    BigArray(const BigArray&) = delete;
    BigArray& operator=(const BigArray&) = delete;
    ~BigArray() {
        if (data_ != nullptr) {
            bigmemory::Free(data_, capacity_ * sizeof(T));
        }
    }

    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    T* begin() { return data_; }
    T* end() { return data_ + size_; }
    const T* begin() const { return data_; }
    const T* end() const { return data_ + size_; }
    T& operator[](size_t i) { return data_[i]; }
    const T& operator[](size_t i) const { return data_[i]; }
    T& back() { return data_[size_ - 1]; }

    void reserve(size_t n) {
        if (n <= capacity_) {
            return;
        }
        const size_t bytes = n * sizeof(T);
        data_ = static_cast<T*>(data_ == nullptr ? bigmemory::Allocate(bytes)
                                                 : bigmemory::Grow(data_, capacity_ * sizeof(T),
                                                                   bytes, size_ * sizeof(T)));
        capacity_ = n;
    }
    template <class... Args>
    void emplace_back(Args&&... args) {
        if (size_ == capacity_) {
            reserve(capacity_ < 16 ? 16 : 2 * capacity_);
        }
        data_[size_++] = T(std::forward<Args>(args)...);
    }
    void push_back(const T& value) { emplace_back(value); }
    // New elements are value-initialised.
    void resize(size_t n) {
        if (n > capacity_) {
            reserve(n > 2 * capacity_ ? n : 2 * capacity_);
        }
        for (size_t i = size_; i < n; ++i) {
            data_[i] = T();
        }
        size_ = n;
    }
    void assign(size_t n, const T& value) {
        clear();
        reserve(n);
        for (size_t i = 0; i < n; ++i) {
            data_[i] = value;
        }
        size_ = n;
    }
    void erase(T* first, T* last) {
        if (last < end()) {
            std::memmove(static_cast<void*>(first), last,
                         static_cast<size_t>(end() - last) * sizeof(T));
        }
        size_ -= static_cast<size_t>(last - first);
    }
    void clear() { size_ = 0; }
    void swap(BigArray& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }

private:
    T* data_ = nullptr;
    size_t size_ = 0;
    size_t capacity_ = 0;
};
