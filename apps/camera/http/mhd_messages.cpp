#include "http/mhd_messages.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>

#include "http/letter_case.h"

namespace zelrtc::camera {

namespace {

// More than any event has, so that most go out at once.
constexpr size_t kStreamBlockBytes = size_t{16} * 1024;
constexpr size_t kNetworkBytes = 8;

MHD_Result addField(void* fields, MHD_ValueKind kind, const char* name, size_t nameSize, const char* value,
                    size_t valueSize) {
    const std::string given(name, nameSize);
    const bool isHeader = kind == MHD_HEADER_KIND;
    static_cast<std::vector<Field>*>(fields)->push_back(
        {isHeader ? lowerCase(given) : given, value == nullptr ? std::string() : std::string(value, valueSize)});
    return MHD_YES;
}

MHD_Result queue(MHD_Connection* connection, const Response& response, MHD_Response* message) {
    if (message == nullptr) {
        return MHD_NO;
    }
    if (!response.type.empty()) {
        MHD_add_response_header(message, MHD_HTTP_HEADER_CONTENT_TYPE, response.type.c_str());
    }
    for (const Field& header : response.headers) {
        MHD_add_response_header(message, header.name.c_str(), header.value.c_str());
    }
    const MHD_Result result = MHD_queue_response(connection, static_cast<unsigned>(response.status), message);
    MHD_destroy_response(message);
    return result;
}

}  // namespace

Request requestOf(MHD_Connection* connection, const char* path, const char* method) {
    Request request;
    request.client = clientOf(connection);
    request.method = method;
    request.path = path;
    MHD_get_connection_values_n(connection, MHD_HEADER_KIND, addField, &request.headers);
    MHD_get_connection_values_n(connection, MHD_GET_ARGUMENT_KIND, addField, &request.query);
    return request;
}

size_t headerBytesOf(MHD_Connection* connection) {
    return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE)->header_size;
}

int socketOf(MHD_Connection* connection) {
    return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

std::string clientOf(MHD_Connection* connection) {
    const sockaddr* address = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS)->client_addr;
    if (address->sa_family == AF_INET6) {
        const in6_addr& ipv6 = reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
        const bool isIpv4 = IN6_IS_ADDR_V4MAPPED(&ipv6);
        return {reinterpret_cast<const char*>(&ipv6), isIpv4 ? sizeof(ipv6) : kNetworkBytes};
    }
    const in_addr& ipv4 = reinterpret_cast<const sockaddr_in*>(address)->sin_addr;
    return {reinterpret_cast<const char*>(&ipv4), sizeof(ipv4)};
}

MHD_Result queueBody(MHD_Connection* connection, const Response& response) {
    void* body = const_cast<char*>(response.body.data());  // the library copies it
    return queue(connection, response,
                 MHD_create_response_from_buffer(response.body.size(), body, MHD_RESPMEM_MUST_COPY));
}

MHD_Result queueStream(MHD_Connection* connection, const Response& response, MHD_ContentReaderCallback reader,
                       void* context) {
    return queue(connection, response,
                 MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, kStreamBlockBytes, reader, context, nullptr));
}

}  // namespace zelrtc::camera
