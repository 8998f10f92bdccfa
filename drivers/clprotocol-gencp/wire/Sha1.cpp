#include <gencp/Sha1.h>

#include <nettle/sha1.h>

namespace GenCP {

// Nettle: a small library with a stable, documented hash API and no global initialisation.
Sha1Digest Sha1(const std::uint8_t* data, std::size_t size) {
  sha1_ctx context;
  sha1_init(&context);
  sha1_update(&context, size, data);
  Sha1Digest out{};
  sha1_digest(&context, out.size(), out.data());
  return out;
}

} // namespace GenCP
