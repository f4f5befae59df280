// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/INode.h>

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace GenApi {

/// Something to call when a node changes. The node map calls the functor twice for each change, once with each cause:
/// while it holds its lock, and after it gave the lock back; the functor compares the cause with its own type.
/// Registered callbacks belong to the node, which gives them back through Destroy() and never deletes them itself.
/// Those of cbPostOutsideLock may run on several threads at once.
class GENICAM_API CNodeCallback {
public:
    CNodeCallback(INode* pNode, ECallbackType CallbackType) : m_pNode(pNode), m_CallbackType(CallbackType) {}
    virtual ~CNodeCallback();

    virtual void operator()(ECallbackType CallbackType) const = 0;
    /// Called once, on deregistration or with the node map, when no call runs any more. Not called for one that was
    /// deregistered and deleted in its own call.
    virtual void Destroy() = 0;

    INode* GetNode() { return m_pNode; }

protected:
    INode* m_pNode;
    ECallbackType m_CallbackType;
};

/// Calls a function or function object with the node.
template <class Function>
class Function_NodeCallback : public CNodeCallback {
public:
    Function_NodeCallback(INode* pNode, Function f, ECallbackType CallbackType)
        : CNodeCallback(pNode, CallbackType), m_function(std::move(f)) {}

    void operator()(ECallbackType CallbackType) const override {
        if (CallbackType == m_CallbackType) {
            m_function(m_pNode);
        }
    }
    void Destroy() override { delete this; }

private:
    mutable Function m_function; // a function object may change itself when called
};

/// Calls a member function of a borrowed object with the node.
template <class Client, class Member>
class Member_NodeCallback : public CNodeCallback {
public:
    Member_NodeCallback(INode* pNode, Client& client, Member member, ECallbackType CallbackType)
        : CNodeCallback(pNode, CallbackType), m_client(client), m_member(member) {}

    void operator()(ECallbackType CallbackType) const override {
        if (CallbackType == m_CallbackType) {
            (m_client.*m_member)(m_pNode);
        }
    }
    void Destroy() override { delete this; }

private:
    Client& m_client;
    Member m_member;
};

/// Makes a callback that is not registered yet.
template <class Function>
CNodeCallback* make_NodeCallback(INode* pNode, Function f, ECallbackType CallbackType) {
    return new Function_NodeCallback<Function>(pNode, std::move(f), CallbackType);
}

template <class Client, class Member, class = std::enable_if_t<std::is_member_function_pointer<Member>::value>>
CNodeCallback* make_NodeCallback(INode* pNode, Client& client, Member member, ECallbackType CallbackType) {
    return new Member_NodeCallback<Client, Member>(pNode, client, member, CallbackType);
}

/// Has @p f(INode*) called whenever the node changes, until the handle is deregistered or the node map is destroyed.
template <class Function>
intptr_t Register(INode* pNode, Function f, ECallbackType CallbackType = cbPostInsideLock) {
    std::unique_ptr<CNodeCallback> callback(make_NodeCallback(pNode, std::move(f), CallbackType));
    const CallbackHandleType handle = pNode->RegisterCallback(callback.get());
    (void)callback.release(); // the node owns it now
    return handle;
}

/// The same for a member function of @p client, which must outlive the registration.
template <class Client, class Member, class = std::enable_if_t<std::is_member_function_pointer<Member>::value>>
intptr_t Register(INode* pNode, Client& client, Member member, ECallbackType CallbackType = cbPostInsideLock) {
    std::unique_ptr<CNodeCallback> callback(make_NodeCallback(pNode, client, member, CallbackType));
    const CallbackHandleType handle = pNode->RegisterCallback(callback.get());
    (void)callback.release(); // the node owns it now
    return handle;
}

/// Ends a registration made by Register(); the handle is used up. A zero handle is ignored.
/// Waits until no call of the callback runs on another thread, and none begins afterwards. So whoever calls this while
/// holding a lock that the callback takes hangs; the lock of the node map is one where the callback uses nodes. In a
/// call of the callback itself this returns at once; other threads may then still be in a call. A callback that is to
/// be ended by a thread with a lock of its own therefore tests the thread, or whatever tells that the end is near,
/// before it takes that lock.
/// @throws GenICam::InvalidArgumentException for a callback that knows no node: deregister it at its node.
GENICAM_API void Deregister(CallbackHandleType pCallbackInfo);

} // namespace GenApi
