// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IBase.h>
#include <GenApi/ISelectorDigit.h>

#include <memory>

namespace GenApi {

/// The odometer over all selectors that select a feature, directly or through others. One combination after the other:
/// `for (bool on = set.SetFirst(); on; on = set.SetNext())`; a feature without selectors has exactly one.
/// The digits: a selector that selects the feature itself is the least significant, one that selects other selectors
/// counts above these. An enumeration walks its available entries, an integer its valid values, a boolean both of its;
/// which, is looked up whenever the digits above have moved. A selector that cannot be read and written, or that has
/// one value, counts as one position. Where selectors select each other in a circle, each is walked once.
/// A digit that overflows is put back to what it was under the position above, before that moves: devices keep such
/// values for each position.
/// Threads: one at a time; hold the lock of the node map, so that nobody else moves the selectors meanwhile.
/// @throws GenICam::OutOfRangeException for more than 64 selectors, 65,536 positions of one or 1,048,576 combinations,
/// and throughout what the nodes raise.
class GENICAM_API CSelectorSet : public ISelectorDigit {
public:
    /// @param pFeature borrowed; must outlive this object. @throws GenICam::InvalidArgumentException on null.
    explicit CSelectorSet(IBase* pFeature);
    CSelectorSet(const CSelectorSet&) = delete;
    CSelectorSet& operator=(const CSelectorSet&) = delete;
    virtual ~CSelectorSet(); ///< Leaves the selectors as they stand; see Restore().

    bool IsEmpty() const; ///< Whether nothing selects the feature.

    bool SetFirst() override;
    bool SetNext(bool Tick = true) override;
    /// Puts back what was found at construction, as far as that goes. @throws the first failure, once all is tried.
    void Restore() override;
    gcstring ToString() override; ///< "LUTSelector=Red,LUTIndex=5", the most significant first.
    /// Replaces the content of @p SelectorList: least significant first; with @p Incremental those that the last step
    /// set, which a selector that counts as one position because it cannot be written is never among.
    void GetSelectorList(FeatureList_t& SelectorList, bool Incremental = false) override;

private:
    class CBody;
    std::unique_ptr<CBody> m_body;
};

} // namespace GenApi
