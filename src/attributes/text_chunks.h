#pragma once
// A long text that grows at its end, kept in pieces so that growing never moves what is written.

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zr {

// Throws std::bad_alloc.
class TextChunks {
public:
    // Room for _n characters in one piece, for the caller to write; Commit says up to where he did.
    char16_t* Reserve(size_t _n) {
        if (static_cast<size_t>(pEnd - p) < _n) Grow(_n);
        return p;
    }
    void Commit(char16_t* _p) { p = _p; }

    void Put(char16_t _ch) {
        *Reserve(1) = _ch;
        ++p;
    }
    // Returns the text where it now stands, which lasts. Never inline: GCC 12 would warn of the constants that come
    // here.
    [[gnu::noinline]] std::u16string_view Put(std::u16string_view _text) {
        char16_t* const pText = Reserve(_text.size());
        p = Copy(pText, _text);
        return {pText, _text.size()};
    }
    void Put(size_t _n, char16_t _ch) { p = std::fill_n(Reserve(_n), _n, _ch); }

    void AppendTo(std::u16string& _out) const {
        size_t nTotal = _out.size() + static_cast<size_t>(p - pBegin);
        for (const CHUNK& chunk : arrFull) nTotal += chunk.nUsed;
        _out.reserve(nTotal);
        for (const CHUNK& chunk : arrFull) _out.append(chunk.pText.get(), chunk.nUsed);
        _out.append(pBegin, p);
    }

    // Copies to where there is room, mostly a word of a few letters: without a call for those. Returns the end.
    static char16_t* Copy(char16_t* _pTo, std::u16string_view _text) {
        const char16_t* const pFrom = _text.data();
        const size_t n = _text.size();
        if (n > 8) {
            std::memcpy(_pTo, pFrom, n * sizeof(char16_t));
        } else if (n >= 4) {
            std::memcpy(_pTo, pFrom, 4 * sizeof(char16_t));
            std::memcpy(_pTo + n - 4, pFrom + n - 4, 4 * sizeof(char16_t));
        } else {
            for (size_t i = 0; i < n; ++i) _pTo[i] = pFrom[i];
        }
        return _pTo + n;
    }

private:
    struct CHUNK {
        std::unique_ptr<char16_t[]> pText;
        size_t nUsed;
    };
    static constexpr size_t kFirst = 1024;
    static constexpr size_t kMost = 32768;

    void Grow(size_t _n) {
        const size_t nSize = std::max(_n, std::clamp<size_t>(static_cast<size_t>(pEnd - pBegin) * 2, kFirst, kMost));
        auto pNew = std::make_unique_for_overwrite<char16_t[]>(nSize);
        if (pLast) arrFull.push_back({std::move(pLast), static_cast<size_t>(p - pBegin)});
        pLast = std::move(pNew);
        p = pBegin = pLast.get();
        pEnd = pBegin + nSize;
    }

    std::vector<CHUNK> arrFull;
    std::unique_ptr<char16_t[]> pLast;
    char16_t* pBegin = nullptr;  // of the last chunk
    char16_t* p = nullptr;
    char16_t* pEnd = nullptr;
};

}  // namespace zr
