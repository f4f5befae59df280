#include <GenApi/Persistence.h>

#include "genicam/genapi/persistence/BagReplay.h"
#include "genicam/genapi/persistence/BagStore.h"
#include "genicam/genapi/persistence/BagText.h"

#include <Base/GCException.h>

#include <algorithm>
#include <ostream>

namespace GenApi {

namespace {

INodeMap& Checked(INodeMap* nodeMap) {
    if (nodeMap == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("A feature bag needs a node map, not null");
    }
    return *nodeMap;
}

/// Gives failures to the caller's list, or raises them all in one. @return whether there were none.
bool Report(const std::vector<std::string>& errors, gcstring_vector* list, const char* attempted) {
    if (list != nullptr) {
        for (const std::string& error : errors) {
            list->push_back(gcstring(std::string_view(error)));
        }
    } else if (!errors.empty()) {
        constexpr std::size_t shown = 5;
        std::string text = "Not all features could be " + std::string(attempted) + ": ";
        for (std::size_t i = 0; i < std::min(errors.size(), shown); ++i) {
            text += (i == 0 ? "" : "; ") + errors[i];
        }
        throw RUNTIME_EXCEPTION(
            text + (errors.size() > shown ? "; and " + std::to_string(errors.size() - shown) + " more" : ""));
    }
    return errors.empty();
}

} // namespace

CFeatureBag::CFeatureBag() = default;
CFeatureBag::CFeatureBag(const CFeatureBag&) = default;
CFeatureBag::CFeatureBag(CFeatureBag&&) noexcept = default;
CFeatureBag& CFeatureBag::operator=(const CFeatureBag&) = default;
CFeatureBag& CFeatureBag::operator=(CFeatureBag&&) noexcept = default;
CFeatureBag::~CFeatureBag() = default;

int64_t CFeatureBag::StoreToBag(INodeMap* pNodeMap, const int MaxEntries, gcstring_vector* pFeatureFilter,
                                gcstring_vector* pErrorList) {
    INodeMap& nodeMap = Checked(pNodeMap);
    const AutoLock lock(nodeMap.GetLock());
    BagStore store(nodeMap);
    store.maxEntries = MaxEntries;
    store.filter = pFeatureFilter;
    store.Run();
    Report(store.GetErrors(), pErrorList, "stored");
    m_entries = store.TakeEntries();
    return static_cast<int64_t>(m_entries.size());
}

bool CFeatureBag::LoadFromBag(INodeMap* pNodeMap, bool Verify, gcstring_vector* pErrorList) const {
    INodeMap& nodeMap = Checked(pNodeMap);
    const AutoLock lock(nodeMap.GetLock());
    return Report(BagReplay(nodeMap, m_entries).Load(Verify), pErrorList, "loaded");
}

std::vector<CBagDifference> CFeatureBag::Compare(INodeMap* pNodeMap) const {
    INodeMap& nodeMap = Checked(pNodeMap);
    const AutoLock lock(nodeMap.GetLock());
    return BagReplay(nodeMap, m_entries).Compare();
}

gcstring CFeatureBag::ToString() const {
    std::string text = FormatRemarks(bagId, m_info);
    FormatEntries(m_entries, text);
    return gcstring(std::move(text));
}

void CFeatureBag::Destroy() {
    delete this;
}

void CFeatureBag::SetInfo(const gcstring& Info) {
    m_info = Info;
}

void CFeatureBag::PersistFeature(IValue& item) {
    m_entries.push_back(MakeEntry(item));
}

std::istream& operator>>(std::istream& stream, CFeatureBag& bag) {
    BagLines lines(stream);
    BagEntries entries = ParseBag(lines);
    if (!lines.IsAtEnd()) {
        throw RUNTIME_EXCEPTION("Line " + std::to_string(lines.Number()) +
                                " begins another feature bag in what is to be one");
    }
    bag.m_entries = std::move(entries);
    return stream;
}

std::ostream& operator<<(std::ostream& stream, const CFeatureBag& bag) {
    const gcstring text = bag.ToString();
    return stream.write(text.c_str(), static_cast<std::streamsize>(text.size()));
}

} // namespace GenApi
