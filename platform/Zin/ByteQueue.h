// ByteQueue holds bytes that wait to be sent. They are appended at the end and consumed at the
// front; storage is reused, and given back when the queue runs empty after it had grown large.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>

namespace Zin {

class ByteQueue {
  public:
    std::size_t size() const noexcept { return end_ - begin_; }
    bool empty() const noexcept { return begin_ == end_; }
    std::span<const std::byte> front() const noexcept {
        return {bytes_.get() + begin_, size()};
    }

    // Whether room() would neither move bytes nor allocate.
    bool hasRoom(std::size_t size) const noexcept { return capacity_ - end_ >= size; }
    // Room for `size` bytes behind the end; they count after added(). Throws std::bad_alloc and
    // leaves the queue as it was.
    std::byte* room(std::size_t size) {
        if (!hasRoom(size)) grow(size);
        return bytes_.get() + end_;
    }
    void added(std::size_t size) noexcept { end_ += size; }

    void consume(std::size_t size) noexcept {
        begin_ += size;
        if (begin_ != end_) return;
        begin_ = end_ = 0;
        if (capacity_ > keptCapacity) {
            bytes_.reset();
            capacity_ = 0;
        }
    }
    void clear() noexcept { consume(size()); }

  private:
    static constexpr std::size_t keptCapacity = std::size_t{1} << 20;

    void grow(std::size_t size) {
        const std::size_t used = this->size();
        if (capacity_ - used < size || begin_ < used) {
            const std::size_t capacity =
                std::max({2 * capacity_, used + size, std::size_t{4096}});
            auto bytes = std::make_unique_for_overwrite<std::byte[]>(capacity);
            if (used != 0) std::memcpy(bytes.get(), bytes_.get() + begin_, used);
            bytes_ = std::move(bytes);
            capacity_ = capacity;
        } else {
            std::memcpy(bytes_.get(), bytes_.get() + begin_, used);
        }
        begin_ = 0;
        end_ = used;
    }

    std::unique_ptr<std::byte[]> bytes_;
    std::size_t capacity_ = 0;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

}  // namespace Zin
