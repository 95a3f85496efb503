// What the endpoint makes its answers of.
#pragma once

#include <microhttpd.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace tvtool {

// Gives a response back.
struct FreeResponse {
    void operator()(MHD_Response* response) const { MHD_destroy_response(response); }
};
using Response = std::unique_ptr<MHD_Response, FreeResponse>;

// Borrows `body`.
inline Response MakeResponse(std::string_view body) {
    return Response(MHD_create_response_from_buffer(body.size(), const_cast<char*>(body.data()),
                                                    MHD_RESPMEM_PERSISTENT));
}

using Headers = std::initializer_list<std::pair<const char*, std::string>>;

// Answers with the response, which may be null for lack of memory, and these headers.
inline MHD_Result QueueResponse(MHD_Connection* connection, unsigned status,
                                const Response& response, const Headers& headers) {
    bool isGood = response != nullptr;
    for (const auto& [name, value] : headers) {
        isGood = isGood && MHD_add_response_header(response.get(), name, value.c_str()) == MHD_YES;
    }
    return isGood ? MHD_queue_response(connection, status, response.get()) : MHD_NO;
}
inline const Headers cClose = {{"Connection", "close"}};

}  // namespace tvtool
