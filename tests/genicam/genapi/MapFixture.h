// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/GenApi.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tests {

/// A device of 256 bytes that counts the accesses and fails on demand.
class MemoryPort : public GenApi::CPortImpl {
public:
    GenApi::EAccessMode GetAccessMode() const override { return Mode; }
    void Read(void* pBuffer, int64_t Address, int64_t Length) override {
        ++Reads;
        FailOnDemand();
        std::memcpy(pBuffer, &Memory.at(static_cast<size_t>(Address + Length - 1)) - (Length - 1),
                    static_cast<size_t>(Length));
    }
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
        ++Writes;
        FailOnDemand();
        std::memcpy(&Memory.at(static_cast<size_t>(Address + Length - 1)) - (Length - 1), pBuffer,
                    static_cast<size_t>(Length));
    }

    std::vector<uint8_t> Memory = std::vector<uint8_t>(256);
    GenApi::EAccessMode Mode = GenApi::RW;
    int Reads = 0;
    int Writes = 0;
    bool TimesOut = false;

private:
    void FailOnDemand() const {
        if (TimesOut) {
            throw TIMEOUT_EXCEPTION("The device is asleep");
        }
    }
};

/// The whole text of a description with these nodes.
inline std::string Description(const std::string& nodes) {
    return R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Model" VendorName="Vendor" StandardNameSpace="None" SchemaMajorVersion="1"
  SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="2" SubMinorVersion="3"
  ProductGuid="1F3C6A70-7B3E-4E4B-8A27-6F00D0000001" VersionGuid="1F3C6A70-7B3E-4E4B-8A27-6F00D0000002"
  xmlns="http://www.genicam.org/GenApi/Version_1_1">)" +
           nodes + "</RegisterDescription>";
}

/// One node: its type, name and elements.
inline std::string Node(const std::string& type, const std::string& name, const std::string& elements) {
    return "<" + type + " Name=\"" + name + "\">" + elements + "</" + type + ">";
}

/// An integer with a value of its own.
inline std::string Value(const std::string& name, int64_t value = 0, const std::string& rest = "") {
    return Node("Integer", name, "<Value>" + std::to_string(value) + "</Value>" + rest);
}

/// A node with the value of another one.
inline std::string Above(const std::string& type, const std::string& name, const std::string& target,
                         const std::string& rest = "") {
    return Node(type, name, "<pValue>" + target + "</pValue>" + rest);
}

inline std::string Numbered(const char* name, int number) {
    return name + std::to_string(number);
}

/// The elements of a register on the port "Device".
inline std::string Place(int address, int length, const std::string& rest = "") {
    return "<Address>" + std::to_string(address) + "</Address><Length>" + std::to_string(length) +
           "</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>" + rest;
}

struct DestroyMap {
    void operator()(GenApi::INodeMap* map) const { dynamic_cast<GenApi::IDestroy&>(*map).Destroy(); }
};
typedef std::unique_ptr<GenApi::INodeMap, DestroyMap> MapPtr;

inline MapPtr MakeMap(const std::string& nodes) {
    return MapPtr(GenApi::CNodeMapFactory(GenICam::gcstring(Description(nodes).c_str())).CreateNodeMap());
}

/// A test with a node map whose port "Device" leads to a MemoryPort.
class MapTest : public testing::Test {
protected:
    void Load(const std::string& nodes) {
        Map = MakeMap(nodes + Node("Port", "Device", ""));
        ASSERT_TRUE(Map->Connect(&Port));
    }
    template <class T>
    T& As(const char* name) {
        T* const node = dynamic_cast<T*>(Map->GetNode(name));
        if (!node) {
            throw LOGICAL_ERROR_EXCEPTION("The test has no such node: %s", name);
        }
        return *node;
    }
    GenApi::IInteger& Int(const char* name) { return As<GenApi::IInteger>(name); }
    GenApi::IFloat& Float(const char* name) { return As<GenApi::IFloat>(name); }
    GenApi::EAccessMode Mode(const char* name) { return As<GenApi::IBase>(name).GetAccessMode(); }
    std::string Text(const char* name) { return As<GenApi::IValue>(name).ToString().c_str(); }
    /// What the exception says that a call ends with.
    static std::string Failure(const std::function<void()>& call) {
        try {
            call();
        } catch (const GenICam::GenericException& failure) {
            return failure.what();
        }
        return "no exception";
    }
    /// Counts in @p count how often callbacks of this type fire on a node.
    void Count(const char* name, int& count, GenApi::ECallbackType type = GenApi::cbPostInsideLock) {
        GenApi::Register(
            Map->GetNode(name), [&count](GenApi::INode*) { ++count; }, type);
    }

    MemoryPort Port;
    MapPtr Map;
};

} // namespace tests
