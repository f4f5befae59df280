// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/EventHandlerRegistry.h"
#include "ZelmoBase/camera/EventHandlerKinds.h"
#include "camera/Support.h"
#include "fakes/Failure.h"
#include "fakes/VirtualSlots.h"

#include <zelmo/GrabResultPtr.h>

#include <gmock/gmock.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

using namespace Zelmo;
using testing::ElementsAre;

namespace {

alignas(16) char g_place[16]; // only its address counts
CInstantCamera& Camera() {
    return reinterpret_cast<CInstantCamera&>(g_place);
}

/// Where other builds look for the counter of a handler: right behind the table of its operations.
template <class Handler>
long* CounterOf(Handler& handler) {
    return reinterpret_cast<long*>(reinterpret_cast<char*>(&handler) + sizeof(void*));
}

/// Tells a story of what happens to it; does more on request.
class Configuration : public CConfigurationEventHandler {
public:
    Configuration(std::string& story, std::string name) : m_story(story), m_name(std::move(name)) {}
    void OnOpened(CInstantCamera& camera) override {
        EXPECT_EQ(&camera, &Camera());
        Tell("opened", onOpened);
    }
    void OnConfigurationRegistered(CInstantCamera& /*camera*/) override { Tell("registered", onRegistered); }
    void OnConfigurationDeregistered(CInstantCamera& /*camera*/) override {
        countWhenDeregistered = *CounterOf<CConfigurationEventHandler>(*this);
        Tell("deregistered", onDeregistered);
    }
    void DestroyConfiguration() override { Tell("destroyed", onDestroyed); }

    std::function<void()> onOpened, onRegistered, onDeregistered, onDestroyed;
    long countWhenDeregistered = -1;

private:
    void Tell(const char* what, const std::function<void()>& more) {
        m_story += m_name + " " + what + " ";
        if (more) {
            more();
        }
    }

    std::string& m_story;
    const std::string m_name;
};

class EventHandlerRegistryTest : public testing::Test {
protected:
    using Registry = CEventHandlerRegistry<CConfigurationHandlers>;

    static Registry::Cookie CookieOf(CConfigurationEventHandler& handler) {
        return reinterpret_cast<Registry::Cookie>(CounterOf(handler));
    }
    void Register(Configuration& handler, ERegistrationMode mode = RegistrationMode_Append,
                  ECleanup cleanup = Cleanup_None) {
        m_registry.Register(&handler, CounterOf<CConfigurationEventHandler>(handler), CookieOf(handler), mode, cleanup);
    }
    bool Deregister(Configuration& handler) { return m_registry.Deregister(CookieOf(handler)); }
    void Open(bool isSwallowed = false) {
        m_registry.ForEach([&](CConfigurationEventHandler& handler) {
            NotifyHandler(handler, "CConfigurationEventHandler::OnOpened", isSwallowed,
                          [](auto& called) { called.OnOpened(Camera()); });
        });
    }
    std::string Told() { return std::exchange(m_story, {}); }

    CameraLog m_log;
    std::string m_story;
    Configuration m_a{m_story, "a"}, m_b{m_story, "b"}, m_c{m_story, "c"};
    Registry m_registry{Camera()};
};

TEST_F(EventHandlerRegistryTest, HandlersAreCalledInOrderAndTheYoungestRegistrationGoesFirst) {
    Register(m_a);
    Register(m_b);
    Register(m_a);
    EXPECT_EQ(Told(), "a registered b registered a registered ");
    EXPECT_EQ(*CounterOf<CConfigurationEventHandler>(m_a), 2);
    Open();
    EXPECT_EQ(Told(), "a opened b opened a opened ");
    EXPECT_TRUE(Deregister(m_a));
    EXPECT_EQ(Told(), "a deregistered ");
    EXPECT_EQ(m_a.countWhenDeregistered, 1);
    Open();
    EXPECT_EQ(Told(), "a opened b opened ");
    EXPECT_TRUE(Deregister(m_a));
    EXPECT_FALSE(Deregister(m_a));
    EXPECT_EQ(*CounterOf<CConfigurationEventHandler>(m_a), 0);
    EXPECT_EQ(m_log.Errors(""), 0U);
}

TEST_F(EventHandlerRegistryTest, ReplacingAllEndsTheOthersTheOldestFirst) {
    Register(m_a, RegistrationMode_Append, Cleanup_Delete);
    Register(m_b);
    m_a.onDeregistered = [this] { EXPECT_TRUE(m_registry.IsEmpty()); };
    Told();
    Register(m_c, RegistrationMode_ReplaceAll);
    EXPECT_EQ(Told(), "a deregistered a destroyed b deregistered c registered ");
    m_registry.Register(nullptr, nullptr, nullptr, RegistrationMode_Append, Cleanup_None);
    EXPECT_FALSE(m_registry.IsEmpty());
    m_registry.Register(nullptr, nullptr, nullptr, RegistrationMode_ReplaceAll, Cleanup_None);
    EXPECT_TRUE(m_registry.IsEmpty());
    EXPECT_EQ(Told(), "c deregistered ");
}

TEST_F(EventHandlerRegistryTest, WhatIsBlockedEndsUnheard) {
    Register(m_a);
    m_a.onDeregistered = [this] { Register(m_b, RegistrationMode_Append, Cleanup_Delete); };
    Told();
    m_registry.SetBlocked(true);
    m_registry.Clear();
    EXPECT_EQ(Told(), "a deregistered b destroyed ");
    EXPECT_EQ(*CounterOf<CConfigurationEventHandler>(m_b), 0);
    m_registry.SetBlocked(false);
    Register(m_b);
    EXPECT_EQ(Told(), "b registered ");
}

TEST_F(EventHandlerRegistryTest, HandlersMayComeAndGoWhileTheyAreCalled) {
    Register(m_a);
    Register(m_b);
    m_a.onOpened = [this] {
        m_a.onOpened = nullptr;
        EXPECT_TRUE(Deregister(m_a)); // itself, and the next one
        EXPECT_TRUE(Deregister(m_b));
        EXPECT_FALSE(Deregister(m_b));
        Register(m_c); // which is called in this walk
        Open();        // and so in a walk within the walk
    };
    Told();
    Open();
    EXPECT_EQ(Told(), "a opened a deregistered b deregistered c registered c opened c opened ");
    m_c.onOpened = [this] { Register(m_a, RegistrationMode_ReplaceAll); };
    Open();
    EXPECT_EQ(Told(), "c opened c deregistered a registered a opened ");
}

TEST_F(EventHandlerRegistryTest, HandlerStandsInTheListBeforeItHearsOfIt) {
    m_a.onRegistered = [this] { Open(); };
    Register(m_a);
    EXPECT_EQ(Told(), "a registered a opened ");
    m_b.onRegistered = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(Register(m_b), std::runtime_error);
    m_c.onRegistered = [this] { EXPECT_TRUE(Deregister(m_c)); };
    Register(m_c);
    Told();
    Open();
    EXPECT_EQ(Told(), "a opened b opened ") << "the registration that was told with a failure stands";
}

TEST_F(EventHandlerRegistryTest, FailureOfAHandlerEndsTheWalkOrIsSwallowedAndIsLoggedEitherWay) {
    Register(m_a);
    Register(m_b);
    m_a.onOpened = [] { throw RUNTIME_EXCEPTION("Too dark."); };
    Told();
    EXPECT_EQ(Fakes::FailureOf([this] { Open(); }), "Too dark.");
    EXPECT_EQ(Told(), "a opened ");
    const auto logged = [this](const std::string& text) {
        const auto lines = m_log.Lines();
        return std::any_of(lines.begin(), lines.end(),
                           [&](const Fakes::LogLine& line) { return line.message.find(text) != std::string::npos; });
    };
    EXPECT_TRUE(logged(", rethrow=1, msg=Too dark."));
    Open(/*isSwallowed*/ true);
    EXPECT_EQ(Told(), "a opened b opened ");
    EXPECT_TRUE(logged(", rethrow=0, msg=Too dark."));
    m_a.onOpened = [] { throw 1; };
    Open(/*isSwallowed*/ true);
    EXPECT_TRUE(logged("Unknown exception caught while notifying event CConfigurationEventHandler::OnOpened handler "));
    m_a.onDeregistered = [] { throw std::runtime_error("still busy"); };
    m_a.onDestroyed = [] { throw 1; };
    EXPECT_TRUE(Deregister(m_a));
    EXPECT_TRUE(logged("Exception caught while notifying event OnConfigurationDeregistered, cookie 0x"));
    Register(m_a, RegistrationMode_Append, Cleanup_Delete);
    EXPECT_TRUE(Deregister(m_a));
    EXPECT_TRUE(logged("Unknown exception caught while calling DestroyConfiguration, cookie 0x"));
}

TEST_F(EventHandlerRegistryTest, CountsThatAreWrongAreOnlyLogged) {
    m_registry.Register(&m_a, nullptr, nullptr, RegistrationMode_Append, Cleanup_None);
    EXPECT_FALSE(m_registry.Deregister(nullptr));
    Register(m_b);
    *CounterOf<CConfigurationEventHandler>(m_b) = 0; // somebody counts by hand
    EXPECT_TRUE(Deregister(m_b));
    EXPECT_EQ(*CounterOf<CConfigurationEventHandler>(m_b), -1);
    std::vector<std::string> errors;
    for (const Fakes::LogLine& line : m_log.Lines()) {
        if (line.priority == GenICam::LogPriority_Error) {
            errors.push_back(line.message.substr(line.message.find(": ") + 2));
        }
    }
    EXPECT_THAT(errors,
                ElementsAre("Pointer to reference counter must not be NULL.",
                            testing::MatchesRegex("Bad reference counting detected, cookie=0x[0-9a-f]+, count=0")));
}

TEST_F(EventHandlerRegistryTest, AppendingDoesNotWaitForAHandlerThatRuns) {
    Register(m_a);
    m_a.onOpened = [this] { std::thread([this] { Register(m_b); }).join(); };
    Told();
    Open();
    EXPECT_EQ(Told(), "a opened b registered b opened ");
}

TEST(EventHandlerDefaultsTest, ObjectsAreDeletedAndCopiesAreRegisteredNowhere) {
    struct Counted : CImageEventHandler {
        explicit Counted(int& ends) : m_ends(ends) {}
        ~Counted() override { ++m_ends; }
        int& m_ends;
    };
    int ends = 0;
    CEventHandlerRegistry<CImageHandlers> registry(Camera());
    auto* const handler = new Counted(ends);
    long* const counter = CounterOf<CImageEventHandler>(*handler);
    const auto cookie = reinterpret_cast<const ImageEventHandlerCookie_*>(counter);
    registry.Register(handler, counter, cookie, RegistrationMode_Append, Cleanup_Delete);
    {
        Counted copy(*handler);
        EXPECT_EQ(*CounterOf<CImageEventHandler>(copy), 0);
    }
    EXPECT_EQ(ends, 1);
    EXPECT_TRUE(registry.Deregister(cookie));
    EXPECT_EQ(ends, 2);
}

// Applications are built apart from the library and bring tables of their own.
TEST(EventHandlerOrderTest, OperationsKeepTheirPlaces) {
    using C = CConfigurationEventHandler;
    EXPECT_THAT(Fakes::Slots(&C::OnAttach, &C::OnAttached, &C::OnDetach, &C::OnDetached, &C::OnDestroy, &C::OnDestroyed,
                             &C::OnOpen, &C::OnOpened, &C::OnClose, &C::OnClosed, &C::OnGrabStart, &C::OnGrabStarted,
                             &C::OnGrabStop, &C::OnGrabStopped, &C::OnGrabError, &C::OnCameraDeviceRemoved,
                             &C::OnConfigurationRegistered, &C::OnConfigurationDeregistered, &C::DestroyConfiguration),
                ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18));
    using I = CImageEventHandler;
    EXPECT_THAT(Fakes::Slots(&I::OnImagesSkipped, &I::OnImageGrabbed, &I::OnImageEventHandlerRegistered,
                             &I::OnImageEventHandlerDeregistered, &I::DestroyImageEventHandler),
                ElementsAre(0, 1, 2, 3, 4));
}

} // namespace
