#include "signalling/event_stream.h"

#include <charconv>
#include <chrono>

namespace zelrtc::camera {

namespace {

using namespace std::chrono_literals;

// Short, so that stopping the server does not wait for quiet streams.
constexpr auto kWait = 500ms;
constexpr int kQuietWaits = 10;

uint64_t lastSeenBy(const httplib::Request& request) {
    const std::string text = request.get_header_value("Last-Event-ID");
    uint64_t id = 0;
    std::from_chars(text.data(), text.data() + text.size(), id);
    return id;
}

std::string streamForm(const Event& event) {
    return "id: " + std::to_string(event.id) + "\nevent: " + event.name + "\ndata: " + event.data + "\n\n";
}

// One reader's place in a call's events.
class Reader {
public:
    Reader(std::shared_ptr<EventLog> events, uint64_t seen) : events_(std::move(events)), seen_(seen) {
    }

    // Sends what there is; false if the client has gone.
    bool send(httplib::DataSink& sink) {
        const EventLog::Batch batch = events_->next(seen_, kWait);
        std::string text;
        for (const Event& event : batch.events) {
            text += streamForm(event);
            seen_ = event.id;
        }
        text += sign(text.empty());
        if (!text.empty() && !sink.write(text.data(), text.size())) {
            return false;
        }
        if (batch.last) {
            sink.done();
        }
        return true;
    }

private:
    // A comment now and then: only a write reveals that a client has vanished.
    std::string sign(bool isQuiet) {
        quiet_ = isQuiet ? quiet_ + 1 : 0;
        if (quiet_ < kQuietWaits) {
            return {};
        }
        quiet_ = 0;
        return ": still here\n\n";
    }

    std::shared_ptr<EventLog> events_;
    uint64_t seen_;
    int quiet_ = 0;
};

}  // namespace

void streamEvents(const std::shared_ptr<EventLog>& events, const httplib::Request& request,
                  httplib::Response& response) {
    const auto reader = std::make_shared<Reader>(events, lastSeenBy(request));
    response.set_header("Cache-Control", "no-store");
    response.set_chunked_content_provider("text/event-stream",
                                          [reader](size_t, httplib::DataSink& sink) { return reader->send(sink); });
}

}  // namespace zelrtc::camera
