// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

#include <utility>

namespace Zelmo {

/// What a callback of one argument does when it fires.
template <class Argument>
class ZELMO_API Base_Callback1Body {
public:
    virtual ~Base_Callback1Body() = default;
    virtual void operator()(Argument argument) = 0;
    virtual Base_Callback1Body* clone() const = 0; ///< A new body that does the same; the caller owns it.
};

/// Calls a member function of a client, which must outlive the callback. Does nothing when the member pointer is null.
template <class Client, class Member, class Argument>
class Member_CallbackBody final : public Base_Callback1Body<Argument> {
public:
    Member_CallbackBody(Client& client, Member member) : m_client(&client), m_member(member) {}

    void operator()(Argument argument) override {
        if (m_member) {
            (m_client->*m_member)(argument);
        }
    }
    Member_CallbackBody* clone() const override { return new Member_CallbackBody(*this); }

private:
    Client* m_client;
    Member m_member;
};

/// Owns one callback body; a copy owns a clone of it. Whoever is handed a holder by reference and wants to call it
/// later keeps a copy: the caller drops its own right after the call.
template <class Argument>
class Callback1 {
public:
    explicit Callback1(Base_Callback1Body<Argument>* body) noexcept : m_body(body) {} ///< Takes the body over.
    Callback1(const Callback1& other) : m_body(other.m_body ? other.m_body->clone() : nullptr) {}
    Callback1(Callback1&& other) noexcept : m_body(std::exchange(other.m_body, nullptr)) {}
    Callback1& operator=(Callback1 other) noexcept {
        std::swap(m_body, other.m_body);
        return *this;
    }
    ~Callback1() { delete m_body; }

    void operator()(Argument argument) const {
        if (m_body) {
            (*m_body)(argument);
        }
    }

private:
    Base_Callback1Body<Argument>* m_body;
};

} // namespace Zelmo
