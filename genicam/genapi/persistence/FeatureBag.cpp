// SPDX-License-Identifier: Apache-2.0
#include <GenApi/Persistence.h>

#include "genicam/genapi/persistence/BagReplay.h"
#include "genicam/genapi/persistence/BagStore.h"
#include "genicam/genapi/persistence/BagText.h"
#include "genicam/genapi/persistence/Failure.h"

#include <ostream>

namespace GenApi {

CFeatureBag::CFeatureBag() = default;
CFeatureBag::CFeatureBag(const CFeatureBag&) = default;
CFeatureBag::CFeatureBag(CFeatureBag&&) noexcept = default;
CFeatureBag& CFeatureBag::operator=(const CFeatureBag&) = default;
CFeatureBag& CFeatureBag::operator=(CFeatureBag&&) noexcept = default;
CFeatureBag::~CFeatureBag() = default;

int64_t CFeatureBag::StoreToBag(INodeMap* pNodeMap, const int MaxEntries, gcstring_vector* pFeatureFilter,
                                gcstring_vector* pErrorList, unsigned int CommandTimeoutMs) {
    BagStore store(RequireNodeMap(pNodeMap));
    store.commandTimeout = std::chrono::milliseconds(CommandTimeoutMs);
    store.maxEntries = MaxEntries;
    store.filter = pFeatureFilter;
    store.Run();
    ReportFailures(store.GetErrors(), pErrorList, "stored");
    m_entries = store.TakeEntries();
    return static_cast<int64_t>(m_entries.size());
}

bool CFeatureBag::LoadFromBag(INodeMap* pNodeMap, bool Verify, gcstring_vector* pErrorList,
                              unsigned int CommandTimeoutMs) const {
    BagReplay replay(RequireNodeMap(pNodeMap), m_entries);
    return ReportFailures(replay.Load(Verify, std::chrono::milliseconds(CommandTimeoutMs)), pErrorList, "loaded");
}

std::vector<CBagDifference> CFeatureBag::Compare(INodeMap* pNodeMap) const {
    return BagReplay(RequireNodeMap(pNodeMap), m_entries).Compare();
}

gcstring CFeatureBag::ToString() const {
    std::string text = FormatRemarks(kBagId, m_info);
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
    RequireEnd(lines);
    bag.m_entries = std::move(entries);
    return stream;
}

std::ostream& operator<<(std::ostream& stream, const CFeatureBag& bag) {
    const gcstring text = bag.ToString();
    return stream.write(text.c_str(), static_cast<std::streamsize>(text.size()));
}

} // namespace GenApi
