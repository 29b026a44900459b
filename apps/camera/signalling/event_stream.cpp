#include "signalling/event_stream.h"

#include <charconv>
#include <utility>

namespace zelrtc::camera {

namespace {

uint64_t lastSeenBy(const Request& request) {
    const std::string text = request.header("last-event-id").value_or("");
    uint64_t id = 0;
    std::from_chars(text.data(), text.data() + text.size(), id);
    return id;
}

std::string streamForm(const Event& event) {
    return "id: " + std::to_string(event.id) + "\nevent: " + event.name + "\ndata: " + event.data + "\n\n";
}

// One reader's place in a call's events.
class Reader : public EventSource {
public:
    Reader(std::shared_ptr<CallHistory> events, uint64_t seen) : events_(std::move(events)), seen_(seen) {
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    ~Reader() override {
        events_->unsubscribe(subscription_);
    }

    void wakeWith(std::function<void()> wake) override {
        subscription_ = events_->subscribe(std::move(wake));
    }

    bool read(std::string& text) override {
        const CallHistory::Batch batch = events_->after(seen_);
        for (const Event& event : batch.events) {
            text += streamForm(event);
            seen_ = event.id;
        }
        return !batch.last;
    }

private:
    const std::shared_ptr<CallHistory> events_;
    uint64_t seen_;
    uint64_t subscription_ = 0;
};

}  // namespace

Response streamEvents(const std::shared_ptr<CallHistory>& events, const Request& request) {
    Response response;
    response.type = "text/event-stream";
    response.headers.push_back({"Cache-Control", "no-store"});
    response.events = std::make_shared<Reader>(events, lastSeenBy(request));
    return response;
}

}  // namespace zelrtc::camera
