#pragma once
// The value of an attribute: a text, and the binary form in which it was last set or read.

#include <cstring>
#include <string_view>

#include "attributes/attr_types.h"
#include "attributes/tree_text.h"

namespace zr {

// Reading a value as another kind goes through its text and leaves it in that kind, so a read can change the value,
// and what one kind cannot print another will not read: callers hold the lock for writing even to read.
// Text that does not fit a kind reads as zero. Throws std::bad_alloc where a text does not fit its memory.
class AttrValue {
public:
    AttrValue() = default;
    explicit AttrValue(std::u16string_view _text) : text(_text) {}
    static AttrValue PartOfSource(std::u16string_view _part) {
        AttrValue value;
        value.text = TreeText::PartOfSource(_part);
        return value;
    }

    // Valid until the value is changed or read as another kind.
    std::u16string_view Text() {
        if (!bTextValid) PrintText();
        return text.View();
    }
    void SetText(std::u16string_view _text) {
        text.Assign(_text);
        bTextValid = true;
        eKind = AttrKind::kText;
    }
    void AppendText(std::u16string_view _text);
    // Has memory of its own from here on.
    void Own() { text.Own(); }

    template <AttrBinary T>
    T As() {
        if (eKind != detail::kKindOf<T>) ReadText(detail::kKindOf<T>, AttrColour{0});
        T value;
        std::memcpy(&value, arrBinary, sizeof(T));
        return value;
    }
    // _default: what a text that is no colour, or says nothing of one, gives. An empty text gives 0 all the same.
    AttrColour AsColour(AttrColour _default) {
        if (eKind != AttrKind::kColour) ReadText(AttrKind::kColour, _default);
        return As<AttrColour>();
    }

    // The text is printed when somebody asks for it.
    template <AttrBinary T>
    void Set(T _value) {
        static_assert(sizeof(T) <= sizeof(arrBinary));
        std::memcpy(arrBinary, &_value, sizeof(T));
        eKind = detail::kKindOf<T>;
        bTextValid = false;
    }

    AttrKind Kind() const { return eKind; }

    // Makes a double quote in the text an apostrophe, for the writer, which can only quote one of the two.
    void ReplaceDoubleQuotes();

private:
    void PrintText();
    void ReadText(AttrKind _eKind, AttrColour _default);
    template <class T>
    T Binary() const {
        T value;
        std::memcpy(&value, arrBinary, sizeof(T));
        return value;
    }

    TreeText text;
    alignas(8) unsigned char arrBinary[16] = {};
    AttrKind eKind = AttrKind::kText;
    bool bTextValid = true;  // false after a typed set
};

}  // namespace zr
