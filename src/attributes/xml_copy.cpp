// Copies of nodes with all that stands below them.

#include <vector>

#include "attributes/xml_node.h"

namespace zr {

// What this node is, without its children, to a node that nobody else knows yet.
void XMLNodeBase::CopySelfTo(XMLNodeBase& _fresh) const ZR_NO_THREAD_SAFETY_ANALYSIS {
    CRWReadScope lock(lockAttributes);
    _fresh.name = name;
    _fresh.strType = strType;
    _fresh.arrAttributes = arrAttributes;
    _fresh.bText = bText;
    _fresh.bNoFormat = bNoFormat.load();
    _fresh.TakeIdFromAttributes(pIdAttribute);
}

// A copied node, which nobody else knows yet, comes from a tree where its id was in another attribute or in none.
void XMLNodeBase::TakeIdFromAttributes(const NameKey* _pSourceId) ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (_pSourceId == pIdAttribute || bText) return;
    if (_pSourceId && !strType.Empty()) {
        arrAttributes.FindOrAppend(*_pSourceId).SetText(name.Text());
        name.SetText(strType.View());
        strType.Clear();
    }
    const size_t i = pIdAttribute ? arrAttributes.Find(pIdAttribute->nHash) : arrAttributes.kNone;
    if (i == arrAttributes.kNone) return;
    strType.Assign(name.Text());
    name = arrAttributes.Remove(i);
}

size_t XMLNodeBase::CopyTo(XMLNodeBase& _target, bool _bWithName, eZrUpdateType _eUpdate,
                           std::span<const NameKey> _arrLeaveOut) const ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (&_target == this) return 0;
    struct STEP {
        const XMLNodeBase* pSource;
        XMLNodeBase* pCopy;
        XMLNodeRef pHeld;  // keeps the source
    };
    // The copy is complete before the target sees any of it, so the target may lie below this node or above it.
    const XMLNodeRef pTop = XMLNodeRef::Attach(_target.NewNode());
    pTop->pIdAttribute = _target.pIdAttribute ? pIdAttribute : nullptr;
    CopySelfTo(*pTop);
    size_t nCopied = 1;
    std::vector<STEP> arrSteps{{this, pTop.Get(), {}}};
    while (!arrSteps.empty()) {
        const STEP step = std::move(arrSteps.back());
        arrSteps.pop_back();
        for (XMLNodeRef& pChild : step.pSource->ChildNodes()) {
            XMLNodeRef pCopy = XMLNodeRef::Attach(_target.NewNode());
            pCopy->pIdAttribute = _target.pIdAttribute;
            pChild->CopySelfTo(*pCopy);
            const NameKey key(pCopy->name.Text());
            if (!pCopy->bText && pCopy->strType.Empty() && HasHash(_arrLeaveOut, key.nHash)) continue;
            pCopy->pParent.store(step.pCopy, std::memory_order_relaxed);
            XMLNodeBase* const pRaw = pCopy.Get();
            if (pRaw->bText)
                step.pCopy->arrChildren.AppendNameless(std::move(pCopy));
            else
                step.pCopy->arrChildren.Append(key, std::move(pCopy));
            ++nCopied;
            arrSteps.push_back({pChild.Get(), pRaw, pChild});
        }
    }

    if (_bWithName) {
        _target.RenameNode(pTop->name.Text(), false);
        CRWWriteScope lock(_target.lockAttributes, "XMLNodeBase::CopyTo");
        _target.strType = pTop->strType;
    }
    _target.bNoFormat = pTop->bNoFormat.load();
    _target.CopyAttributesFrom(*pTop, _eUpdate);
    _target.TakeChildrenOver(*pTop);
    return nCopied;
}

}  // namespace zr
