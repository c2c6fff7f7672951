#pragma once

#include <CoreFoundation/LoopClock.h>
#include <xcb/randr.h>
#include <xcb/res.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <utility>

#include "desktop/x11/Connection.h"

namespace kivo::desktop::x11 {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

/// A reply of the server; null when it answered with an error or did not answer in time.
template <typename Contents>
using Reply = std::unique_ptr<Contents, Free>;

/// One question to the server, made of any number of requests. All their replies are awaited
/// until one deadline, `kAnswerTimeout` from the start; after it, or once the server is gone, each
/// wait ends at once.
class Question {
  public:
    /// Waits first, until the deadline, for a reply that an earlier question did not get.
    explicit Question(Connection& connection);
    Question(const Question&) = delete;
    Question& operator=(const Question&) = delete;

    /// False once a reply did not come in time or the server is gone. A question that begins so
    /// must send nothing.
    bool IsAnswered() const { return mAnswered; }

    /// Sends what brings no reply. Requests that bring one are sent when it is awaited.
    void Flush() { mConnection.Flush(); }

    const Atoms& Names() const { return mConnection.Names(); }
    const Server& Facts() const { return mConnection.Facts(); }
    xcb_connection_t* Get() const { return mConnection.Get(); }

  private:
    template <typename Cookie>
    friend class Pending;

    /// Waits for the reply to a request, which the caller frees.
    void* Await(unsigned sequence);
    /// Lets time pass until the server sends something or the deadline has come.
    void WaitForServer();

    Connection& mConnection;
    const LoopInstant mDeadline;
    bool mAnswered = true;
};

/// How many windows are asked about at a time. A batch's requests fit into the socket, so that
/// sending them never waits for the server; the next batch is sent when they are answered.
constexpr std::size_t kBatch = 512;

/// Which reply a request brings: the result type of these, which are never called.
xcb_get_property_reply_t ReplyTo(xcb_get_property_cookie_t);
xcb_get_geometry_reply_t ReplyTo(xcb_get_geometry_cookie_t);
xcb_translate_coordinates_reply_t ReplyTo(xcb_translate_coordinates_cookie_t);
xcb_query_tree_reply_t ReplyTo(xcb_query_tree_cookie_t);
xcb_query_pointer_reply_t ReplyTo(xcb_query_pointer_cookie_t);
xcb_get_window_attributes_reply_t ReplyTo(xcb_get_window_attributes_cookie_t);
xcb_res_query_client_ids_reply_t ReplyTo(xcb_res_query_client_ids_cookie_t);
xcb_randr_get_monitors_reply_t ReplyTo(xcb_randr_get_monitors_cookie_t);

/// A request whose reply is still to come. One that nobody takes is thrown away when it comes.
/// Must not outlive its question.
template <typename Cookie>
class [[nodiscard]] Pending {
  public:
    using Contents = decltype(ReplyTo(std::declval<Cookie>()));

    Pending(Question& question, Cookie cookie) : mQuestion(&question), mCookie(cookie) {}
    Pending(Pending&& other) noexcept
        : mQuestion(std::exchange(other.mQuestion, nullptr)), mCookie(other.mCookie) {}
    Pending& operator=(Pending&& other) noexcept {
        std::swap(mQuestion, other.mQuestion);
        std::swap(mCookie, other.mCookie);
        return *this;
    }
    ~Pending() {
        if (mQuestion != nullptr) xcb_discard_reply(mQuestion->Get(), mCookie.sequence);
    }

    /// The reply, awaited until the question's deadline. To be taken once.
    Reply<Contents> Take() {
        Question* question = std::exchange(mQuestion, nullptr);
        return Reply<Contents>(static_cast<Contents*>(question->Await(mCookie.sequence)));
    }

  private:
    Question* mQuestion;
    Cookie mCookie;
};

}  // namespace kivo::desktop::x11
