#pragma once
// A text that keeps what is short inside itself: names and values of attributes, of which a scene has tens of
// thousands.

#include <cstdint>
#include <cstring>
#include <string_view>

namespace zr {

// 32 bytes; up to 12 characters without memory of its own. Not zero-terminated. Throws std::bad_alloc.
class SmallText {
public:
    static constexpr uint32_t kInline = 12;

    SmallText() = default;
    explicit SmallText(std::u16string_view _text) { Assign(_text); }
    SmallText(const SmallText& _other) : SmallText(_other.View()) {}
    SmallText(SmallText&& _other) noexcept { Take(_other); }
    ~SmallText() {
        if (nCapacity > kInline) Free();
    }
    SmallText& operator=(const SmallText& _other) {
        if (this != &_other) Assign(_other.View());
        return *this;
    }
    SmallText& operator=(SmallText&& _other) noexcept {
        if (this != &_other) {
            if (nCapacity > kInline) Free();
            Take(_other);
        }
        return *this;
    }

    std::u16string_view View() const { return {Data(), nLength}; }
    bool Empty() const { return nLength == 0; }

    // _text must not be a part of this text.
    void Assign(std::u16string_view _text) {
        nLength = 0;
        Append(_text);
    }
    void Append(std::u16string_view _text) {
        if (_text.size() > nCapacity - nLength) Grow(_text.size());
        if (!_text.empty()) std::memcpy(MutableData() + nLength, _text.data(), _text.size() * sizeof(char16_t));
        nLength += static_cast<uint32_t>(_text.size());
    }
    // Keeps the memory.
    void Clear() { nLength = 0; }
    char16_t* MutableData() { return nCapacity > kInline ? pOwn : arrInline; }

private:
    const char16_t* Data() const { return nCapacity > kInline ? pOwn : arrInline; }
    void Take(SmallText& _other) {
        std::memcpy(static_cast<void*>(this), &_other, sizeof(*this));
        _other.nLength = 0;
        _other.nCapacity = kInline;
    }
    void Grow(size_t _nMore);
    void Free();

    uint32_t nLength = 0;
    uint32_t nCapacity = kInline;
    union {
        char16_t arrInline[kInline];
        char16_t* pOwn;
    };
};

}  // namespace zr
