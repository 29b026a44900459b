/** @file webrtcbin_viewer.h The far end of a call: a plain webrtcbin that makes the offer. */
#ifndef TESTS_HOSTSDK_WEBRTCBIN_VIEWER_H
#define TESTS_HOSTSDK_WEBRTCBIN_VIEWER_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "gst/handles.h"

namespace zelrtc::test {

// The destructor closes the connection, as a viewer who leaves does.
class WebrtcbinViewer {
public:
    // The sections of the offer, in this order: "video" receives H.264, "audio" sends and receives mu-law,
    // "vp8" asks for a video codec that cameras do not have.
    explicit WebrtcbinViewer(const std::string& sections);
    WebrtcbinViewer(const WebrtcbinViewer&) = delete;
    WebrtcbinViewer& operator=(const WebrtcbinViewer&) = delete;
    WebrtcbinViewer(WebrtcbinViewer&&) = delete;
    WebrtcbinViewer& operator=(WebrtcbinViewer&&) = delete;
    ~WebrtcbinViewer();

    // Includes all of the viewer's candidates.
    std::string makeOffer();
    void setAnswer(const std::string& sdp);

    int videoFrames() const;
    int audioFrames() const;
    // How often each type of H.264 unit has come, however it was packed; a unit in fragments counts once.
    std::map<int, int> videoUnits() const;
    // Distance between the RTP timestamps of the last two video frames, in units of 1/90000 s.
    guint32 lastVideoTimestampStep() const;

    // Drops whatever the viewer sends, as if it had lost its network.
    void freeze();
    void thaw();

    // Feeds the near end a packet as if the viewer's sender had made it: bytes that are RTP or RTCP, before they are
    // encrypted. Only while connected. False when it does not go out.
    bool sendPacket(const std::vector<uint8_t>& packet);
    // The same for application data, which is what data channels are made of.
    bool sendData(const std::vector<uint8_t>& data);
    // Bytes of RTP that have come in, by source.
    std::map<guint32, uint64_t> receivedBytes() const;
    // The source that has sent most, which is that of the video.
    guint32 largestSource() const;

    // The number of the video packet that came in last.
    uint16_t newestPacket() const;
    // Loses every second packet of video that comes in, until so many are lost.
    void losePackets(int count);
    bool hasLostAll() const;
    // The numbers of the lost ones that have not come again.
    std::vector<uint16_t> missingPackets() const;

    // Packets that the viewer has sent, or tried to.
    int talkPackets() const;
    // These return false on timeout.
    bool waitForTalk(int packets, std::chrono::seconds deadline);
    bool waitForClose(std::chrono::seconds deadline);

private:
    struct Observer;

    void addSection(const std::string& section, int index);
    bool sendInto(const char* factory, const char* pad, const std::vector<uint8_t>& packet);
    void addTalk(GstCaps* caps, const std::string& padName);
    bool waitFor(std::chrono::seconds deadline, const std::function<bool()>& condition);

    zelrtc::gst::GstPtr<GstElement> pipeline_;
    GstElement* webrtcbin_;
    std::shared_ptr<Observer> observer_;
};

}  // namespace zelrtc::test

#endif
