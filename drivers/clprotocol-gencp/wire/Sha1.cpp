#include <gencp/ByteOrder.h>
#include <gencp/Sha1.h>

#include <boost/uuid/detail/sha1.hpp>

namespace GenCP {

Sha1Digest Sha1(const std::uint8_t* data, std::size_t size) {
  boost::uuids::detail::sha1 sha;
  sha.process_bytes(data, size);
  boost::uuids::detail::sha1::digest_type words;
  sha.get_digest(words);
  Sha1Digest out{};
  for (std::size_t i = 0; i < 5; ++i)
    PutBE(out.data() + 4 * i, words[i], 4);
  return out;
}

} // namespace GenCP
