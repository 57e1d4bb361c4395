#pragma once
// An ordered list whose entries are found by name: attributes, child nodes, run-time objects.

#include <cassert>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "attributes/name_hash.h"
#include "attributes/name_index.h"
#include "attributes/small_text.h"

namespace zr {

// Names may repeat; a look-up says which occurrence it wants. An entry may also have no name and is then never found.
// Whether case counts is in the hashes that the caller hands in. Looking up changes nothing, so readers may share.
template <class T>
class NamedList {
public:
    static constexpr size_t kNone = SIZE_MAX;

    struct ENTRY {
        uint64_t nHash;  // 0: no name
        SmallText name;
        T value;
    };

    NamedList() = default;
    NamedList(NamedList&&) noexcept = default;
    NamedList& operator=(NamedList&&) noexcept = default;
    NamedList(const NamedList& _other) : arrEntries(_other.arrEntries) { Reindex(); }
    NamedList& operator=(const NamedList& _other) {
        arrEntries = _other.arrEntries;
        Reindex();
        return *this;
    }

    size_t Size() const { return arrEntries.size(); }
    bool Empty() const { return arrEntries.empty(); }
    void Reserve(size_t _nEntries) { arrEntries.reserve(_nEntries); }
    T& operator[](size_t _i) { return arrEntries[_i].value; }
    const T& operator[](size_t _i) const { return arrEntries[_i].value; }
    std::u16string_view NameAt(size_t _i) const { return arrEntries[_i].name.View(); }
    uint64_t HashAt(size_t _i) const { return arrEntries[_i].nHash; }
    auto begin() { return arrEntries.begin(); }
    auto end() { return arrEntries.end(); }
    auto begin() const { return arrEntries.begin(); }
    auto end() const { return arrEntries.end(); }

    // The position of occurrence number _nOccurrence of the name, 0 first; kNone when there is none.
    size_t Find(uint64_t _nHash, size_t _nOccurrence = 0) const {
        if (_nHash == 0) return kNone;
        if (pIndex) {
            const uint32_t nPosition = pIndex->Find(_nHash, _nOccurrence);
            return nPosition == NameIndex::kNone ? kNone : nPosition;
        }
        for (size_t i = 0; i < arrEntries.size(); ++i)
            if (arrEntries[i].nHash == _nHash && _nOccurrence-- == 0) return i;
        return kNone;
    }

    T& Append(const NameKey& _key, T _value) {
        arrEntries.push_back({_key.nHash, SmallText(_key.text), std::move(_value)});
        NoteAppended();
        return arrEntries.back().value;
    }
    T& AppendNameless(T _value) {
        arrEntries.push_back({0, SmallText(), std::move(_value)});
        NoteAppended();
        return arrEntries.back().value;
    }
    // The value of the first entry of that name, which is appended when there is none.
    T& FindOrAppend(const NameKey& _key) {
        const size_t i = Find(_key.nHash);
        return i != kNone ? arrEntries[i].value : Append(_key, T());
    }
    // _pKey null: without a name. _i: at most the size.
    void Insert(size_t _i, const NameKey* _pKey, T _value) {
        assert(_i <= arrEntries.size());
        ENTRY entry{_pKey ? _pKey->nHash : 0, _pKey ? SmallText(_pKey->text) : SmallText(), std::move(_value)};
        const bool bLast = _i == arrEntries.size();
        arrEntries.insert(arrEntries.begin() + static_cast<ptrdiff_t>(_i), std::move(entry));
        if (bLast)
            NoteAppended();
        else
            Reindex();
    }
    // Takes the entry out and hands its value on.
    T Remove(size_t _i) {
        const bool bLast = _i + 1 == arrEntries.size();
        if (bLast) ForgetLast();
        T value = std::move(arrEntries[_i].value);
        arrEntries.erase(arrEntries.begin() + static_cast<ptrdiff_t>(_i));
        if (!bLast) Reindex();
        return value;
    }
    void Rename(size_t _i, const NameKey& _key) {
        SmallText text(_key.text);
        const bool bLast = _i + 1 == arrEntries.size();
        if (bLast) ForgetLast();
        arrEntries[_i].name = std::move(text);
        arrEntries[_i].nHash = _key.nHash;
        if (bLast)
            NoteAppended();
        else
            Reindex();
    }
    void Clear() {
        arrEntries.clear();
        pIndex.reset();
    }

private:
    static constexpr size_t kSearched = 16;  // up to here a search from the front is as quick as the index

    // Without memory for the index the list is whole all the same: it is searched.
    void NoteAppended() noexcept {
        if (!pIndex) return Reindex();
        try {
            if (const uint64_t nHash = arrEntries.back().nHash)
                pIndex->Add(static_cast<uint32_t>(arrEntries.size() - 1), nHash);
        } catch (const std::bad_alloc&) {
            pIndex.reset();
        }
    }
    // The last entry is about to go or to change its name.
    void ForgetLast() {
        const uint64_t nHash = arrEntries.back().nHash;
        if (pIndex && nHash) pIndex->RemoveLast(static_cast<uint32_t>(arrEntries.size() - 1), nHash);
    }
    void Reindex() noexcept {
        if (arrEntries.size() <= kSearched) return pIndex.reset();
        try {
            if (!pIndex) pIndex = std::make_unique<NameIndex>();
            pIndex->Reset(arrEntries.size());
            for (size_t i = 0; i < arrEntries.size(); ++i)
                if (arrEntries[i].nHash) pIndex->Add(static_cast<uint32_t>(i), arrEntries[i].nHash);
        } catch (const std::bad_alloc&) {
            pIndex.reset();
        }
    }

    std::vector<ENTRY> arrEntries;
    std::unique_ptr<NameIndex> pIndex;  // only above kSearched entries
};

}  // namespace zr
