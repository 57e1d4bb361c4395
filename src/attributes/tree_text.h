#pragma once
// Texts of a tree: a tree read from a text has tens of thousands of them, nearly all parts of that text.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace zr {

// A text that a tree was read from, and memory for what is read. The nodes of the tree hold it as long as anything of
// theirs may be in it. They are counted in bulk: an atomic operation a node is what reading would mostly wait for.
class TreeSource {
public:
    // Of the text up to its first zero, with one holder, who made it. Throws std::bad_alloc.
    explicit TreeSource(std::u16string_view _text);
    TreeSource(const TreeSource&) = delete;
    TreeSource& operator=(const TreeSource&) = delete;

    void AddHolders(uint32_t _n) { nHolders.fetch_add(_n, std::memory_order_relaxed); }
    // Is gone with the last one.
    void ReleaseHolders(uint32_t _n) {
        if (nHolders.fetch_sub(_n, std::memory_order_acq_rel) == _n) delete this;
    }

    char16_t* Begin() { return pText.get(); }
    char16_t* End() { return pText.get() + nLength; }
    // For who reads the tree, before anybody else knows it. Whole cache lines; throws std::bad_alloc.
    void* Allocate(size_t _cb);

private:
    ~TreeSource();

    std::atomic<uint32_t> nHolders{1};
    const std::unique_ptr<char16_t[]> pText;
    size_t nLength;
    std::vector<void*> arrBlocks;
    std::byte* pFree = nullptr;  // in the last block
    size_t cbFree = 0;
    size_t cbNext = 0;
};

// One text: in memory of its own, or a part of the source, which must then outlive it. A copy always has memory of its
// own; moving a part of the source to another node does not, and is for who hands the source on too. Not
// zero-terminated. Throws std::bad_alloc.
class TreeText {
public:
    TreeText() = default;
    explicit TreeText(std::u16string_view _text) { Append(_text); }
    static TreeText PartOfSource(std::u16string_view _part) {
        TreeText text;
        text.pText = const_cast<char16_t*>(_part.data());
        text.nLength = static_cast<uint32_t>(_part.size());
        return text;
    }
    TreeText(const TreeText& _other) : TreeText(_other.View()) {}
    TreeText(TreeText&& _other) noexcept { Swap(_other); }
    ~TreeText() {
        if (nCapacity > 0) Free();
    }
    TreeText& operator=(const TreeText& _other) {
        if (this != &_other) Assign(_other.View());
        return *this;
    }
    TreeText& operator=(TreeText&& _other) noexcept {
        Swap(_other);
        return *this;
    }

    std::u16string_view View() const { return {pText, nLength}; }
    bool Empty() const { return nLength == 0; }

    // _text must not be a part of this text.
    void Assign(std::u16string_view _text) {
        Clear();
        Append(_text);
    }
    void Append(std::u16string_view _text) {
        if (_text.empty()) return;
        Reserve(nLength + _text.size());
        std::memcpy(pText + nLength, _text.data(), _text.size() * sizeof(char16_t));
        nLength += static_cast<uint32_t>(_text.size());
    }
    // Keeps the memory.
    void Clear() {
        nLength = 0;
        if (nCapacity == 0) pText = nullptr;
    }
    // To change characters in place.
    char16_t* Own() {
        Reserve(nLength);
        return pText;
    }

private:
    void Swap(TreeText& _other) {
        std::swap(pText, _other.pText);
        std::swap(nLength, _other.nLength);
        std::swap(nCapacity, _other.nCapacity);
    }
    void Reserve(size_t _nLength) {
        if (_nLength > nCapacity) Grow(_nLength);
    }
    void Grow(size_t _nLength);
    void Free();

    char16_t* pText = nullptr;
    uint32_t nLength = 0;
    uint32_t nCapacity = 0;  // 0: pText is a part of the source and is not written to
};

}  // namespace zr
