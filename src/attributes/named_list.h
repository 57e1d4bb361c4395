#pragma once
// An ordered list whose entries are found by name: attributes, child nodes, run-time objects.

#include <algorithm>
#include <cassert>
#include <memory>
#include <new>
#include <utility>

#include "attributes/name_hash.h"
#include "attributes/name_index.h"
#include "attributes/tree_text.h"

namespace zr {

template <class T>
struct NAMED_ENTRY {
    uint64_t nHash;  // 0: no name
    TreeText name;
    T value;
};

template <class T>
struct NAMED_STORE {
    NAMED_ENTRY<T>* pEntries = nullptr;
    uint32_t nSize = 0;
    uint32_t nCapacity : 30 = 0;
    uint32_t bHolds : 1 = 0;     // an entry may hold memory or a reference: they have to be visited at the end
    uint32_t bInSource : 1 = 0;  // the memory is the source's
};

// Names may repeat; a look-up says which occurrence it wants. An entry may also have no name and is then never found.
// Whether case counts is in the hashes that the caller hands in. Looking up changes nothing, so readers may share.
template <class T>
class NamedList : NAMED_STORE<T> {
    using STORE = NAMED_STORE<T>;
    using STORE::bHolds;
    using STORE::bInSource;
    using STORE::nCapacity;
    using STORE::nSize;
    using STORE::pEntries;

public:
    using ENTRY = NAMED_ENTRY<T>;
    static constexpr size_t kNone = SIZE_MAX;

    NamedList() = default;
    NamedList(NamedList&& _other) noexcept { Swap(_other); }
    NamedList& operator=(NamedList&& _other) noexcept {
        Swap(_other);
        return *this;
    }
    NamedList(const NamedList& _other) : NamedList() {  // with a destructor should an entry not fit
        Reserve(_other.nSize);
        bHolds = 1;
        for (const ENTRY& entry : _other) {
            new (pEntries + nSize) ENTRY(entry);
            ++nSize;
        }
        Reindex();
    }
    NamedList& operator=(const NamedList& _other) {
        if (this != &_other) *this = NamedList(_other);
        return *this;
    }
    ~NamedList() { Clear(); }

    size_t Size() const { return nSize; }
    bool Empty() const { return nSize == 0; }
    const T& operator[](size_t _i) const { return pEntries[_i].value; }
    T& operator[](size_t _i) {
        bHolds = 1;
        return pEntries[_i].value;
    }
    std::u16string_view NameAt(size_t _i) const { return pEntries[_i].name.View(); }
    uint64_t HashAt(size_t _i) const { return pEntries[_i].nHash; }
    const ENTRY* begin() const { return pEntries; }
    const ENTRY* end() const { return pEntries + nSize; }
    ENTRY* begin() {
        bHolds = 1;
        return pEntries;
    }
    ENTRY* end() { return pEntries + nSize; }

    // The position of occurrence number _nOccurrence of the name, 0 first; kNone when there is none.
    size_t Find(uint64_t _nHash, size_t _nOccurrence = 0) const {
        if (_nHash == 0) return kNone;
        if (pIndex) {
            const uint32_t nPosition = pIndex->Find(_nHash, _nOccurrence);
            return nPosition == NameIndex::kNone ? kNone : nPosition;
        }
        for (size_t i = 0; i < nSize; ++i)
            if (pEntries[i].nHash == _nHash && _nOccurrence-- == 0) return i;
        return kNone;
    }

    void Reserve(size_t _nEntries) {
        if (_nEntries > nCapacity) Grow(_nEntries);
    }
    // Lets an empty list begin in memory of the source, which the owner of the list holds.
    void BeginInSource(TreeSource& _source, size_t _nEntries) {
        assert(nCapacity == 0);
        pEntries = static_cast<ENTRY*>(_source.Allocate(_nEntries * sizeof(ENTRY)));
        nCapacity = static_cast<uint32_t>(_nEntries) & kMaxEntries;
        bInSource = 1;
    }

    T& Append(const NameKey& _key, T _value) {
        bHolds = 1;
        return Add(_key.nHash, TreeText(_key.text), std::move(_value));
    }
    // The name is a part of the source that the owner of the list holds.
    T& AppendPart(const NameKey& _key, T _value) {
        bHolds = 1;
        return Add(_key.nHash, TreeText::PartOfSource(_key.text), std::move(_value));
    }
    // So are the name and all that the value holds.
    void AppendParts(const NameKey& _key, T _value) {
        Add(_key.nHash, TreeText::PartOfSource(_key.text), std::move(_value));
    }
    T& AppendNameless(T _value) {
        bHolds = 1;
        return Add(0, TreeText(), std::move(_value));
    }
    // The value of the first entry of that name, which is appended when there is none.
    T& FindOrAppend(const NameKey& _key) {
        const size_t i = Find(_key.nHash);
        return i != kNone ? (*this)[i] : Append(_key, T());
    }
    // _pKey null: without a name. _i: at most the size.
    void Insert(size_t _i, const NameKey* _pKey, T _value) {
        assert(_i <= nSize);
        if (_pKey)
            Append(*_pKey, std::move(_value));
        else
            AppendNameless(std::move(_value));
        if (_i + 1 == nSize) return;
        std::rotate(pEntries + _i, pEntries + nSize - 1, pEntries + nSize);
        Reindex();
    }
    // Takes the entry out and hands its value on.
    T Remove(size_t _i) {
        const bool bLast = _i + 1 == nSize;
        if (bLast) ForgetLast();
        bHolds = 1;
        T value = std::move(pEntries[_i].value);
        std::move(pEntries + _i + 1, pEntries + nSize, pEntries + _i);
        pEntries[--nSize].~ENTRY();
        if (!bLast) Reindex();
        return value;
    }
    void Rename(size_t _i, const NameKey& _key) {
        TreeText text(_key.text);
        const bool bLast = _i + 1 == nSize;
        if (bLast) ForgetLast();
        bHolds = 1;
        pEntries[_i].name = std::move(text);
        pEntries[_i].nHash = _key.nHash;
        if (bLast)
            NoteAppended();
        else
            Reindex();
    }
    void Clear() {
        if (bHolds) std::destroy(pEntries, pEntries + nSize);
        if (!bInSource) ::operator delete(pEntries);
        pEntries = nullptr;
        nSize = 0;
        nCapacity = 0;
        bHolds = bInSource = 0;
        pIndex.reset();
    }

private:
    static constexpr uint32_t kMaxEntries = (1u << 30) - 1;
    static constexpr size_t kSearched = 16;  // up to here a search from the front is as quick as the index

    T& Add(uint64_t _nHash, TreeText _name, T _value) {
        if (nSize == nCapacity) Grow(std::max<size_t>(4, size_t{nCapacity} * 2));
        ENTRY* const p = new (pEntries + nSize) ENTRY{_nHash, std::move(_name), std::move(_value)};
        ++nSize;
        NoteAppended();
        return p->value;
    }
    void Grow(size_t _nCapacity) {
        if (_nCapacity > kMaxEntries) throw std::bad_alloc();
        auto* const pNew = static_cast<ENTRY*>(::operator new(_nCapacity * sizeof(ENTRY)));
        std::uninitialized_move(pEntries, pEntries + nSize, pNew);
        std::destroy(pEntries, pEntries + nSize);
        if (!bInSource) ::operator delete(pEntries);
        pEntries = pNew;
        nCapacity = static_cast<uint32_t>(_nCapacity) & kMaxEntries;
        bInSource = 0;
    }
    void Swap(NamedList& _other) noexcept {
        std::swap(static_cast<STORE&>(*this), static_cast<STORE&>(_other));
        std::swap(pIndex, _other.pIndex);
    }

    // Without memory for the index the list is whole all the same: it is searched.
    void NoteAppended() noexcept {
        if (!pIndex) {
            if (nSize > kSearched) Reindex();
            return;
        }
        try {
            if (const uint64_t nHash = pEntries[nSize - 1].nHash) pIndex->Add(nSize - 1, nHash);
        } catch (const std::bad_alloc&) {
            pIndex.reset();
        }
    }
    // The last entry is about to go or to change its name.
    void ForgetLast() {
        const uint64_t nHash = pEntries[nSize - 1].nHash;
        if (pIndex && nHash) pIndex->RemoveLast(nSize - 1, nHash);
    }
    void Reindex() noexcept {
        if (nSize <= kSearched) return pIndex.reset();
        try {
            if (!pIndex) pIndex = std::make_unique<NameIndex>();
            pIndex->Reset(nSize);
            for (uint32_t i = 0; i < nSize; ++i)
                if (pEntries[i].nHash) pIndex->Add(i, pEntries[i].nHash);
        } catch (const std::bad_alloc&) {
            pIndex.reset();
        }
    }

    std::unique_ptr<NameIndex> pIndex;  // only above kSearched entries
};

}  // namespace zr
