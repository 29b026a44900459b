// Requests and their responses, over real connections.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "http_support/raw_client.h"
#include "http_support/test_server.h"

namespace zelrtc::camera::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr size_t kKibibyte = 1024;

std::string chunked(const std::string& body, size_t chunk) {
    std::string text;
    for (size_t at = 0; at < body.size(); at += chunk) {
        const std::string piece = body.substr(at, chunk);
        std::array<char, 20> size{};
        std::snprintf(size.data(), size.size(), "%zx\r\n", piece.size());
        text += size.data() + piece + "\r\n";
    }
    return text + "0\r\n\r\n";
}

std::string chunkedRequest(const std::string& body) {
    return "POST /echo HTTP/1.1\r\nHost: 127.0.0.1\r\nTransfer-Encoding: chunked\r\n\r\n" + chunked(body, 1000);
}

class HttpRequests : public ::testing::Test {
protected:
    std::string exchange(const std::string& request) {
        EXPECT_TRUE(client_.send(request));
        return client_.receiveResponse();
    }

    void expectProblem(const std::string& request, int status) {
        RawClient client(server_.port());
        client.send(request);
        const std::string response = client.receiveResponse();
        EXPECT_EQ(statusOf(response), status) << response;
        EXPECT_THAT(response, HasSubstr("Content-Type: application/problem+json"));
        EXPECT_THAT(bodyOf(response), HasSubstr("\"status\":" + std::to_string(status)));
    }

    TestServer server_;
    RawClient client_{server_.port()};
};

TEST_F(HttpRequests, AnswersOneAfterTheOtherOnOneConnection) {
    EXPECT_EQ(bodyOf(exchange(getRequest("/"))), "hello");
    EXPECT_EQ(bodyOf(exchange(postRequest("/echo", "text"))), "text");
    EXPECT_EQ(bodyOf(exchange(getRequest("/"))), "hello");
}

TEST_F(HttpRequests, AnswersPipelinedOnesInOrder) {
    client_.send(getRequest("/echo/1") + postRequest("/echo", "2") + getRequest("/echo/3"));
    EXPECT_EQ(bodyOf(client_.receiveResponse()), "1");
    EXPECT_EQ(bodyOf(client_.receiveResponse()), "2");
    EXPECT_EQ(bodyOf(client_.receiveResponse()), "3");
}

TEST_F(HttpRequests, GivesHandlersTheOpenSegmentDecoded) {
    EXPECT_EQ(bodyOf(exchange(getRequest("/echo/a%20b?c=d"))), "a b");
}

TEST_F(HttpRequests, GivesHeadTheHeaderOfGet) {
    client_.send("HEAD / HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n" + getRequest("/echo/next"));
    const std::string header = client_.receiveUntil("\r\n\r\n");
    EXPECT_EQ(statusOf(header), 200);
    EXPECT_THAT(header, HasSubstr("Content-Length: 5"));
    EXPECT_EQ(bodyOf(client_.receiveResponse()), "next");
}

TEST_F(HttpRequests, IgnoresRanges) {
    const std::string response = exchange(getRequest("/", "Range: bytes=0-1,0-1,0-1\r\n"));
    EXPECT_EQ(statusOf(response), 200);
    EXPECT_EQ(bodyOf(response), "hello");
}

TEST_F(HttpRequests, KnowsNothingElsewhere) {
    for (const char* path : {"/other", "/echo/", "/echo/a/b", "//", "/ech", "*"}) {
        expectProblem(getRequest(path), 404);
    }
}

TEST_F(HttpRequests, SaysWhichMethodsThereAre) {
    const std::string response = exchange("BREW /echo HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    EXPECT_EQ(statusOf(response), 405);
    EXPECT_THAT(response, HasSubstr("Allow: POST\r\n"));
    expectProblem("DELETE /echo HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n", 405);
}

TEST_F(HttpRequests, MakesProblemsOfWhatHandlersThrow) {
    expectProblem(getRequest("/fail"), 500);
    expectProblem(getRequest("/refuse"), 422);
}

TEST_F(HttpRequests, SaysWhenToTryAgain) {
    EXPECT_THAT(exchange(getRequest("/later")), HasSubstr("\r\nRetry-After: 5\r\n"));
    EXPECT_THAT(exchange(getRequest("/refuse")), Not(HasSubstr("Retry-After")));
}

TEST_F(HttpRequests, TellsClientsApart) {
    const auto clientAt = [this](const char* address) {
        RawClient client(server_.port(), address);
        client.send(getRequest("/client"));
        return bodyOf(client.receiveResponse());
    };
    EXPECT_EQ(clientAt("127.0.0.1"), clientAt("127.0.0.1"));
    EXPECT_NE(clientAt("127.0.0.1"), clientAt("127.0.0.2"));
}

TEST_F(HttpRequests, TakesAHeaderOfFifteenKibibytes) {
    EXPECT_EQ(statusOf(exchange(getRequest("/", "X: " + std::string(15 * kKibibyte, 'x') + "\r\n"))), 200);
}

TEST_F(HttpRequests, RefusesAHeaderOfSeventeenKibibytes) {
    expectProblem(getRequest("/", "X: " + std::string(17 * kKibibyte, 'x') + "\r\n"), 431);
}

TEST_F(HttpRequests, RefusesAHeaderWithoutEnd) {
    client_.send("GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nX: " + std::string(100 * kKibibyte, 'x'));
    EXPECT_EQ(statusOf(client_.receiveUntil("\r\n\r\n")), 431);
    EXPECT_TRUE(client_.isClosedByServer());
}

TEST_F(HttpRequests, TakesABodyOf64KibibytesInEitherFraming) {
    const std::string body(64 * kKibibyte, 'x');
    EXPECT_EQ(bodyOf(exchange(postRequest("/echo", body))), body);
    EXPECT_EQ(bodyOf(exchange(chunkedRequest(body))), body);
}

TEST_F(HttpRequests, RefusesALongerBodyInEitherFraming) {
    const std::string body(64 * kKibibyte + 1, 'x');
    expectProblem(postRequest("/echo", body), 413);
    expectProblem(chunkedRequest(body), 413);
    expectProblem(postRequest("/echo", std::string(1000 * kKibibyte, 'x')), 413);
}

TEST_F(HttpRequests, GoesOnAfterARefusedBody) {
    EXPECT_EQ(statusOf(exchange(postRequest("/echo", std::string(70 * kKibibyte, 'x')))), 413);
    EXPECT_EQ(statusOf(exchange(postRequest("/nowhere", "text"))), 404);
    EXPECT_EQ(bodyOf(exchange(getRequest("/"))), "hello");
}

TEST_F(HttpRequests, DoesNotTakeABodyWithoutEnd) {
    client_.send("POST /echo HTTP/1.1\r\nHost: 127.0.0.1\r\nTransfer-Encoding: chunked\r\n\r\n");
    const std::string chunk = chunked(std::string(64 * kKibibyte, 'x'), 64 * kKibibyte);
    const std::string unfinished = chunk.substr(0, chunk.size() - 5);
    int sent = 0;
    while (sent < 1000 && client_.send(unfinished)) {
        ++sent;
    }
    EXPECT_LT(sent, 1000);
}

TEST_F(HttpRequests, RefusesABodyBeforeItIsSentToOneWhoAsks) {
    client_.send("POST /echo HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 70000\r\nExpect: 100-continue\r\n\r\n");
    EXPECT_EQ(statusOf(client_.receiveResponse()), 413);
}

TEST_F(HttpRequests, RefusesAVeryLongBodyAtOnce) {
    client_.send("POST /echo HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 99999999999\r\n\r\n");
    EXPECT_EQ(statusOf(client_.receiveResponse()), 413);
    EXPECT_TRUE(client_.isClosedByServer());
}

TEST_F(HttpRequests, RefusesEncodings) {
    expectProblem(postRequest("/echo", "text", "Content-Encoding: gzip\r\n"), 415);
    RawClient client(server_.port());
    client.send("POST /echo HTTP/1.1\r\nHost: 127.0.0.1\r\nTransfer-Encoding: gzip\r\nExpect: 100-continue\r\n\r\n");
    EXPECT_EQ(statusOf(client.receiveResponse()), 415);
}

TEST_F(HttpRequests, ReadsNothingBehindABodyWhoseEndIsInDoubt) {
    for (const char* lengths :
         {"Content-Length: 5\r\nTransfer-Encoding: chunked\r\n", "Transfer-Encoding: chunked\r\nContent-Length: 5\r\n",
          "Content-Length: 5\r\nContent-Length: 55\r\n", "Content-Length: 5\r\nTransfer-Encoding : chunked\r\n",
          "Content-Length: 5\r\nTransfer-Encoding: chunked\r\nTransfer-Encoding: x\r\n"}) {
        RawClient client(server_.port());
        client.send("POST /echo HTTP/1.1\r\nHost: 127.0.0.1\r\n" + std::string(lengths) + "\r\n0\r\n\r\n" +
                    getRequest("/"));
        EXPECT_EQ(statusOf(client.receiveResponse()), 400) << lengths;
        EXPECT_TRUE(client.isClosedByServer()) << lengths;
    }
}

TEST_F(HttpRequests, RefusesWhatIsNoHttp) {
    RawClient client(server_.port());
    client.send("\x16\x03\x01\x02nonsense\r\n\r\n");
    EXPECT_THAT(client.receiveUntil("\r\n\r\n"), Not(HasSubstr(" 200 ")));
    EXPECT_TRUE(client.isClosedByServer());
    EXPECT_EQ(bodyOf(exchange(getRequest("/"))), "hello");
}

TEST_F(HttpRequests, ForgetsAClientThatHangsUpWhileItsRequestIsHandled) {
    {
        RawClient hasty(server_.port());
        hasty.send(getRequest("/wait"));
        ASSERT_TRUE(server_.door.hasWaiting(1));
    }
    RawClient halfClosed(server_.port());
    halfClosed.send(getRequest("/wait"));
    halfClosed.closeSending();
    ASSERT_TRUE(server_.door.hasWaiting(2));
    server_.door.open();
    EXPECT_TRUE(halfClosed.isClosedByServer());
    EXPECT_EQ(bodyOf(exchange(getRequest("/"))), "hello");
}

TEST(HttpRequestsWithGuards, AreRefusedBeforeTheirBodyIsRead) {
    TestServer server(patientLimits(), {}, [](HttpServer& http) {
        http.guard([](const Request& request) { return requireMediaType(request, "application/json"); });
    });
    RawClient client(server.port());
    client.send("POST /echo HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 5\r\nExpect: 100-continue\r\n\r\n");
    EXPECT_EQ(statusOf(client.receiveResponse()), 415);
    RawClient other(server.port());
    other.send(postRequest("/echo", "{}", "Content-Type: application/json; charset=utf-8\r\n"));
    EXPECT_EQ(bodyOf(other.receiveResponse()), "{}");
}

TEST(HttpRequestsWithGuards, AreRefusedLateWhenTheGuardSaysSo) {
    constexpr std::chrono::milliseconds kDelay(200);
    TestServer server(patientLimits(), {}, [kDelay](HttpServer& http) {
        http.guard([kDelay](const Request& request) -> std::optional<Response> {
            Response refusal = problemResponse(401, "wrong");
            refusal.delay = kDelay;
            return request.path == "/" ? std::optional(refusal) : std::nullopt;
        });
    });
    RawClient slow(server.port());
    RawClient quick(server.port());
    const auto start = std::chrono::steady_clock::now();
    slow.send(getRequest("/"));
    quick.send(getRequest("/echo/now"));
    EXPECT_EQ(bodyOf(quick.receiveResponse()), "now");
    EXPECT_EQ(statusOf(slow.receiveResponse()), 401);
    EXPECT_GE(std::chrono::steady_clock::now() - start, kDelay);
}

TEST(HttpRequestsWithFinisher, AreFinishedWhateverTheyAre) {
    TestServer server(patientLimits(), {}, [](HttpServer& http) {
        http.finishResponsesWith([](const Request& request, Response& response) {
            response.headers.push_back({"X-Path", request.path});
        });
    });
    RawClient client(server.port());
    client.send(getRequest("/") + getRequest("/nowhere") + postRequest("/echo", std::string(70000, 'x')));
    EXPECT_THAT(client.receiveResponse(), HasSubstr("X-Path: /\r\n"));
    EXPECT_THAT(client.receiveResponse(), HasSubstr("X-Path: /nowhere\r\n"));
    EXPECT_THAT(client.receiveResponse(), HasSubstr("X-Path: /echo\r\n"));
}

}  // namespace
}  // namespace zelrtc::camera::test
