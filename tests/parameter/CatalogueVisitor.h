// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/INodeMap.h>
#include <zelmo/ArrayParameter.h>
#include <zelmo/BooleanParameter.h>
#include <zelmo/CommandParameter.h>
#include <zelmo/EnumParameterT.h>
#include <zelmo/FloatParameter.h>
#include <zelmo/IntegerParameter.h>
#include <zelmo/StringParameter.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace tests {

/// The entries that an enumeration is to have, with their enumerators, and those of its compiled table.
struct EnumRow {
    std::vector<std::pair<std::string, int>> entries;
    std::vector<std::pair<std::string, int>> table;
    std::function<void(int)> set; ///< By enumerator, through the typed interface.
    std::function<int()> get;
};

/// One parameter of a catalogue object.
struct CatalogueRow {
    std::string kind;
    std::string name;
    const void* address;        ///< What the reference refers to.
    Zelmo::IValueEx* parameter; ///< The same.
    EnumRow enumeration;        ///< Of kind "Enum" only.
};

/// Is handed each parameter of a catalogue: that it is there, and of its kind, is for the compiler to see.
class CatalogueVisitor {
public:
    void Boolean(Zelmo::IBooleanEx& parameter, const char* name) { Add("Boolean", parameter, name); }
    void Integer(Zelmo::IIntegerEx& parameter, const char* name) { Add("Integer", parameter, name); }
    void Float(Zelmo::IFloatEx& parameter, const char* name) { Add("Float", parameter, name); }
    void String(Zelmo::IStringEx& parameter, const char* name) { Add("String", parameter, name); }
    void Command(Zelmo::ICommandEx& parameter, const char* name) { Add("Command", parameter, name); }
    void Array(Zelmo::IRegisterEx& parameter, const char* name) { Add("Array", parameter, name); }

    template <class Enumerators, class Class>
    void Enum(Zelmo::IEnumParameterT<Enumerators>& parameter, const char* name,
              std::vector<std::pair<std::string, int>> entries) {
        Add("Enum", parameter, name);
        EnumRow& row = rows.back().enumeration;
        row.entries = std::move(entries);
        const Zelmo::CEnumParameter::Table_t& table = Class().GetTable();
        for (std::size_t i = 0; i < table.count; ++i) {
            row.table.emplace_back(std::string(table.entries[i].name, table.entries[i].sizeBytes - 1), i);
        }
        row.set = [&parameter](int value) { parameter.SetValue(static_cast<Enumerators>(value)); };
        row.get = [&parameter] { return static_cast<int>(parameter.GetValue()); };
    }

    std::vector<CatalogueRow> rows;

private:
    template <class Interface>
    void Add(const char* kind, Interface& parameter, const char* name) {
        rows.push_back({kind, name, &parameter, &parameter, {}});
    }
};

/// An object of a catalogue, and all that it holds.
struct VisitedCatalogue {
    std::function<void(GenApi::INodeMap*)> initialize;
    std::vector<CatalogueRow> rows;     ///< In the order of the list.
    std::vector<const void*> addresses; ///< The object as pointers, without that to its block.
    std::function<void()> destroy;
};

/// A catalogue, by its names; in the list of all of them for as long as it lives.
struct CatalogueUnderTest {
    CatalogueUnderTest(const char* namespaceName, const char* className, VisitedCatalogue (*makeOne)())
        : space(namespaceName), name(className), make(makeOne) {
        All().push_back(this);
    }
    static std::vector<const CatalogueUnderTest*>& All() {
        static std::vector<const CatalogueUnderTest*> all;
        return all;
    }
    const std::string space;
    const std::string name;
    VisitedCatalogue (*const make)();
};

template <class Catalogue, void (*Visit)(Catalogue&, CatalogueVisitor&)>
VisitedCatalogue VisitAll() {
    auto* const catalogue = new Catalogue;
    CatalogueVisitor visitor;
    Visit(*catalogue, visitor);
    const auto* const words = reinterpret_cast<const void* const*>(catalogue);
    return {[catalogue](GenApi::INodeMap* map) { catalogue->_Initialize(map); }, std::move(visitor.rows),
            std::vector<const void*>(words + 1, words + sizeof(Catalogue) / sizeof(void*)),
            [catalogue] { delete catalogue; }};
}

} // namespace tests
