#include "signalling/page_policy.h"

#include <glib.h>

#include <array>
#include <memory>

namespace zelrtc::camera {

namespace {

constexpr size_t kSha256Bytes = 32;

std::string sourceHash(std::string_view text) {
    const std::unique_ptr<GChecksum, decltype(&g_checksum_free)> checksum(g_checksum_new(G_CHECKSUM_SHA256),
                                                                          g_checksum_free);
    g_checksum_update(checksum.get(), reinterpret_cast<const guchar*>(text.data()), static_cast<gssize>(text.size()));
    std::array<guint8, kSha256Bytes> digest{};
    gsize size = digest.size();
    g_checksum_get_digest(checksum.get(), digest.data(), &size);
    const std::unique_ptr<gchar, decltype(&g_free)> encoded(g_base64_encode(digest.data(), size), g_free);
    return std::string(" 'sha256-") + encoded.get() + "'";
}

// Of what stands between the tags of every element of this name.
std::string hashesOf(std::string_view page, const std::string& name) {
    std::string hashes;
    for (size_t at = page.find("<" + name); at != std::string_view::npos; at = page.find("<" + name, at)) {
        const size_t begin = page.find('>', at) + 1;
        const size_t end = page.find("</" + name + ">", begin);
        hashes += sourceHash(page.substr(begin, end - begin));
        at = end;
    }
    return hashes;
}

}  // namespace

std::string pagePolicy(std::string_view page) {
    return "default-src 'none'; script-src" + hashesOf(page, "script") + "; style-src" + hashesOf(page, "style") +
           "; img-src data:; connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
}

}  // namespace zelrtc::camera
