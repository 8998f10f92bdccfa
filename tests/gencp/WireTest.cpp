// Packets and checksums against the reference vectors, and decoding of damaged packets.
#include <gencp/Checksum.h>
#include <gencp/MemoryZip.h>
#include <gencp/Packet.h>
#include <gencp/Protocol.h>
#include <gencp/Sha1.h>

#include <gtest/gtest.h>
#include <zlib.h>

using GenCP::CPacket;
using Bytes = std::vector<std::uint8_t>;

TEST(GenCPWire, PacketsAndChecksumsMatchReferenceVectors) {
  const std::pair<CPacket, Bytes> cases[] = {
      {CPacket::ReadMem(1, 0x0, 4),
       {0x01, 0x00, 0xB7, 0xF2, 0xB7, 0xEE, 0x00, 0x00, 0x40, 0x00, 0x08, 0x00, 0x00, 0x0C,
        0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04}},
      {CPacket::Ack(0, GenCP::ReadMemAck, 1, {0x00, 0x01, 0x00, 0x03}),
       {0x01, 0x00, 0xF7, 0xF9, 0xF7, 0xF5, 0x00, 0x00, 0x00, 0x00,
        0x08, 0x01, 0x00, 0x04, 0x00, 0x01, 0x00, 0x01, 0x00, 0x03}},
      {CPacket::Ack(0, GenCP::WriteMemAck, 2, {0x00, 0x00, 0x00, 0x04}),
       {0x01, 0x00, 0xF7, 0xF6, 0xF7, 0xF2, 0x00, 0x00, 0x00, 0x00,
        0x08, 0x03, 0x00, 0x04, 0x00, 0x02, 0x00, 0x00, 0x00, 0x04}},
      {CPacket::Ack(0, GenCP::WriteMemAck, 2),
       {0x01, 0x00, 0xF7, 0xFA, 0xF7, 0xFA, 0x00, 0x00, 0x00, 0x00, 0x08, 0x03, 0x00, 0x00, 0x00,
        0x02}},
      {CPacket::Pending(3, 1000), {0x01, 0x00, 0xF7, 0xF3, 0xF4, 0x0B, 0x00, 0x00, 0x00, 0x00,
                                   0x08, 0x05, 0x00, 0x04, 0x00, 0x03, 0x00, 0x00, 0x03, 0xE8}},
  };
  for (size_t i = 0; i < std::size(cases); ++i)
    EXPECT_EQ(cases[i].first.Encode(), cases[i].second) << "packet " << i;
  // The checksum folds its carries and pads an odd length.
  const std::uint8_t carry[] = {0xFF, 0xFF, 0x00, 0x01}, odd[] = {0x12};
  EXPECT_EQ(GenCP::Checksum(carry, 4), 0xFFFE); // 0xFFFF + 1 folds to 0x0001
  EXPECT_EQ(GenCP::Checksum(odd, 1), static_cast<std::uint16_t>(~0x1200));
}

TEST(GenCPWire, DecodeRecognisesDamage) {
  const Bytes good = CPacket::Ack(0, GenCP::ReadMemAck, 7, {1, 2, 3, 4}).Encode();
  CPacket p;
  std::size_t used = 0;
  ASSERT_EQ(CPacket::Decode(good.data(), good.size(), p, used), CPacket::EDecode::Ok);
  EXPECT_EQ(used, good.size());
  EXPECT_EQ(p.m_RequestId, 7);
  EXPECT_EQ(p.m_Scd, (Bytes{1, 2, 3, 4}));

  EXPECT_EQ(CPacket::Decode(good.data(), good.size() - 1, p, used), CPacket::EDecode::Incomplete);
  // A flipped bit in the header, in the data, and a byte of another protocol's preamble.
  const std::pair<std::size_t, CPacket::EDecode> damages[] = {{11, CPacket::EDecode::BadCcd},
                                                              {17, CPacket::EDecode::BadScd},
                                                              {1, CPacket::EDecode::BadPreamble}};
  for (const auto& [at, result] : damages) {
    Bytes damaged = good;
    damaged[at] ^= 1;
    EXPECT_EQ(CPacket::Decode(damaged.data(), damaged.size(), p, used), result) << at;
  }
  // A length beyond the packet limit, under a header checksum that fits it.
  Bytes packet = CPacket::Ack(0, GenCP::ReadMemAck, 1).Encode();
  packet[12] = 0xFF; // length 0xFF00
  const std::uint16_t sum = GenCP::Checksum(packet.data() + 6, 10);
  packet[2] = static_cast<std::uint8_t>(sum >> 8);
  packet[3] = static_cast<std::uint8_t>(sum);
  EXPECT_EQ(CPacket::Decode(packet.data(), packet.size(), p, used), CPacket::EDecode::BadCcd);
}

// A one-entry archive as other zip writers lay it out; with `zip64` the directory holds
// 0xFFFFFFFF and the sizes sit in the zip64 extra field, as Info-ZIP writes streamed input.
Bytes Archive(const Bytes& content, std::uint64_t declared, bool zip64) {
  Bytes data(compressBound(static_cast<uLong>(content.size())));
  z_stream z{};
  deflateInit2(&z, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  z.next_in = const_cast<Bytef*>(content.data());
  z.avail_in = static_cast<uInt>(content.size());
  z.next_out = data.data();
  z.avail_out = static_cast<uInt>(data.size());
  deflate(&z, Z_FINISH);
  data.resize(z.total_out);
  deflateEnd(&z);
  Bytes out;
  auto put = [&out](std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
      out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  };
  auto header = [&](bool central) {
    put(central ? 0x02014b50 : 0x04034b50, 4);
    put(central ? 45 | 45 << 16 : 45, central ? 4 : 2); // versions made by and needed
    put(0, 2);
    put(Z_DEFLATED, 2);
    put(0, 4);
    put(crc32(0, content.data(), static_cast<uInt>(content.size())), 4);
    put(zip64 ? 0xFFFFFFFF : data.size(), 4);
    put(zip64 ? 0xFFFFFFFF : declared, 4);
    put(5, 2);
    put(zip64 ? 20 : 0, 2);
    if (central)
      out.insert(out.end(), 14, 0); // comment, disk, attributes, local header at 0
    out.insert(out.end(), {'a', '.', 'x', 'm', 'l'});
    if (zip64) {
      put(1, 2);
      put(16, 2);
      put(declared, 8);
      put(data.size(), 8);
    }
  };
  header(false);
  out.insert(out.end(), data.begin(), data.end());
  const std::size_t directory = out.size();
  header(true);
  const std::size_t directorySize = out.size() - directory;
  put(0x06054b50, 4);
  put(0, 4);
  put(0x00010001, 4); // one entry
  put(directorySize, 4);
  put(directory, 4);
  put(0, 2);
  return out;
}

TEST(GenCPWire, UnzipTakesZip64AndRefusesWhatDoesNotMatchItsDeclaredSize) {
  const std::string xml = "<RegisterDescription/>";
  const Bytes text(xml.begin(), xml.end()), zeros(1 << 20);
  const struct {
    const char* what;
    Bytes content;
    std::uint64_t declared;
    bool zip64, loads;
  } cases[] = {
      {"zip64", text, text.size(), true, true},
      {"1 KB declaring 16 GiB", zeros, 16ull << 30, true, false},
      {"1 KB declaring 60 MiB", zeros, 60u << 20, false, false},
      {"more data than declared", zeros, 100, false, false},
  };
  for (const auto& c : cases) {
    Bytes out;
    EXPECT_EQ(GenCP::CMemoryZip::UnzipFirst(Archive(c.content, c.declared, c.zip64), out), c.loads)
        << c.what;
    EXPECT_EQ(out, c.loads ? c.content : Bytes()) << c.what;
  }
  Bytes out;
  EXPECT_FALSE(GenCP::CMemoryZip::UnzipFirst(Bytes{'n', 'o', 't', 'z', 'i', 'p'}, out));
}

TEST(GenCPWire, Sha1OfKnownTexts) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
      {"abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "84983e441c3bd26ebaae4aa1f95129e5e54670f1"}};
  for (const auto& [text, hex] : cases) {
    const GenCP::Sha1Digest d =
        GenCP::Sha1(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    std::string got;
    for (std::uint8_t byte : d) {
      static const char digits[] = "0123456789abcdef";
      got += digits[byte >> 4];
      got += digits[byte & 15];
    }
    EXPECT_EQ(got, hex) << text;
  }
}

TEST(GenCPWire, BaudFeatureValuesFollowThePluginTable) {
  // 15, 16, 20 and 23 on the camera's register: the baud-switch suite.
  using namespace GenCP::Hexmar;
  EXPECT_EQ(BaudBitOfFeatureValue(24), 0u);
  for (std::int64_t v : {15, 17, 18, 19, 20, 21, 22, 23})
    EXPECT_EQ(FeatureValueOfBaudBit(BaudBitOfFeatureValue(v)), v);
}
