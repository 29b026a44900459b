#include <gmock/gmock.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <memory>
#include <ostream>
#include <string>

namespace {

using ::testing::HasSubstr;

struct Outcome {
    int exitStatus;
    std::string output;
};

Outcome runCamera(const std::string& arguments) {
    const std::string command = std::string(CAMERA_BINARY) + " " + arguments + " 2>&1";
    std::FILE* pipe = popen(command.c_str(), "r");
    Outcome outcome{-1, ""};
    std::array<char, 4096> text{};
    while (std::fgets(text.data(), static_cast<int>(text.size()), pipe) != nullptr) {
        outcome.output += text.data();
    }
    const int status = pclose(pipe);
    outcome.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

struct Mistake {
    const char* arguments;
    const char* reason;
};

void PrintTo(const Mistake& mistake, std::ostream* out) {
    *out << mistake.arguments;
}

class MistakenOption : public ::testing::TestWithParam<Mistake> {};

TEST_P(MistakenOption, EndsWithStatus2AndAReason) {
    const Outcome outcome = runCamera(GetParam().arguments);
    EXPECT_EQ(outcome.exitStatus, 2) << outcome.output;
    EXPECT_THAT(outcome.output, HasSubstr(GetParam().reason));
}

INSTANTIATE_TEST_SUITE_P(
    CameraOptionsTest, MistakenOption,
    ::testing::Values(
        Mistake{"--no-such-option", "--no-such-option"}, Mistake{"--listen nowhere", "is not ADDRESS:PORT"},
        Mistake{"--listen 127.0.0.1:65536", "is not ADDRESS:PORT"}, Mistake{"--listen :0", "has no address"},
        Mistake{"--listen 203.0.113.1:0", "cannot be listened on"},
        Mistake{"--video-file 3=/dev/null", "does not begin with a stream number"},
        Mistake{"--video-file /dev/null", "does not begin with a stream number"},
        Mistake{"--video-file 0=/no/such/file", "there is no file"},
        Mistake{"--video-file 0=/etc/passwd", "is not H.264 in Annex B form"},
        Mistake{"--video-rtsp 0=http://192.0.2.1/", "does not begin with rtsp://"},
        Mistake{"--video-pipeline '0=nosuchelement'", "video stream 0"},
        Mistake{"--audio-file /no/such/file", "does not exist"}, Mistake{"--audio-file /dev/null", "20 ms"},
        Mistake{"--ice-server http://example.org", "does not begin with stun:, turn: or turns:"},
        Mistake{"--ice-server turn:192.0.2.1:3478", "needs a user and a credential"},
        Mistake{"--ice-server turn:192.0.2.1:3478,user", "has a user but no credential"},
        Mistake{"--allow-origin example.com", "is not http://HOST[:PORT]"},
        Mistake{"--allow-origin https://example.com/", "is not http://HOST[:PORT]"},
        Mistake{"--allow-origin '*'", "is not http://HOST[:PORT]"},
        Mistake{"--allow-origin https://Example.com", "is not http://HOST[:PORT]"},
        Mistake{"--allow-origin ftp://example.com", "is not http://HOST[:PORT]"},
        Mistake{"--ice-server-file /no/such/file", "does not exist"},
        Mistake{"--ice-server-file /etc/passwd", "does not begin with stun:, turn: or turns:"},
        Mistake{"--call-list /dev/null/calls --listen 127.0.0.1:0", "list of calls cannot be written"},
        Mistake{"--tls-cert /etc/passwd", "--tls-key"}, Mistake{"--tls-key /etc/passwd", "--tls-cert"},
        Mistake{"--tls-cert /etc/passwd --tls-key /etc/passwd --tls-self-signed", "--tls-self-signed"},
        Mistake{"--tls-cert /etc/passwd --tls-key /etc/passwd --listen 127.0.0.1:0",
                "is that a certificate, and its key"},
        Mistake{"--token-file /no/such/file", "does not exist"},
        Mistake{"--token-file /etc/hostname --no-token", "--no-token"},
        Mistake{"--token-file /etc/passwd --listen 127.0.0.1:0", "is not 16 or more of"},
        Mistake{"--record-dir /dev/null", "is no directory"}, Mistake{"--max-calls 0", "not in range"},
        Mistake{"--record-limit 0", "not in range"}, Mistake{"--max-calls many", "--max-calls"},
        Mistake{"--log-level 9", "not in range"},
        Mistake{"--log-file /dev/null/log --listen 127.0.0.1:0", "log file cannot be opened"}));

TEST(CameraOptionsTest, HelpNamesEveryOptionAndSucceeds) {
    const Outcome outcome = runCamera("--help");
    EXPECT_EQ(outcome.exitStatus, 0);
    for (const char* option :
         {"--listen",     "--all-addresses",   "--tls-cert",   "--tls-key",        "--tls-self-signed", "--no-token",
          "--token-file", "--allow-origin",    "--video-file", "--video-pipeline", "--video-rtsp",      "--audio-file",
          "--ice-server", "--ice-server-file", "--relay-only", "--no-trickle",     "--assistant-call",  "--record-dir",
          "--call-list",  "--max-calls",       "--log-level",  "--log-file",       "--record-limit"}) {
        EXPECT_THAT(outcome.output, HasSubstr(option));
    }
}

}  // namespace
