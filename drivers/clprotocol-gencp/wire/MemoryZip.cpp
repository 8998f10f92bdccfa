#include <gencp/MemoryZip.h>

#include <minizip/unzip.h>
#include <minizip/zip.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>

namespace GenCP {
namespace {

// minizip reads and writes through these callbacks; the stream is a growable byte vector.
struct SMemoryStream {
  std::vector<std::uint8_t>* m_Data;
  std::size_t m_Position = 0;
};

voidpf ZCALLBACK OpenStream(voidpf opaque, const void*, int) {
  return opaque;
}

uLong ZCALLBACK ReadStream(voidpf, voidpf stream, void* buf, uLong size) {
  auto* s = static_cast<SMemoryStream*>(stream);
  const std::size_t avail =
      s->m_Position < s->m_Data->size() ? s->m_Data->size() - s->m_Position : 0;
  const std::size_t n = std::min<std::size_t>(avail, size);
  if (n)
    std::memcpy(buf, s->m_Data->data() + s->m_Position, n);
  s->m_Position += n;
  return static_cast<uLong>(n);
}

uLong ZCALLBACK WriteStream(voidpf, voidpf stream, const void* buf, uLong size) {
  auto* s = static_cast<SMemoryStream*>(stream);
  if (s->m_Position + size > s->m_Data->size())
    s->m_Data->resize(s->m_Position + size);
  std::memcpy(s->m_Data->data() + s->m_Position, buf, size);
  s->m_Position += size;
  return size;
}

ZPOS64_T ZCALLBACK TellStream(voidpf, voidpf stream) {
  return static_cast<SMemoryStream*>(stream)->m_Position;
}

long ZCALLBACK SeekStream(voidpf, voidpf stream, ZPOS64_T offset, int origin) {
  auto* s = static_cast<SMemoryStream*>(stream);
  std::size_t base = 0;
  if (origin == ZLIB_FILEFUNC_SEEK_CUR)
    base = s->m_Position;
  else if (origin == ZLIB_FILEFUNC_SEEK_END)
    base = s->m_Data->size();
  const ZPOS64_T target = base + offset;
  if (target > s->m_Data->size())
    return -1;
  s->m_Position = static_cast<std::size_t>(target);
  return 0;
}

int ZCALLBACK CloseStream(voidpf, voidpf) {
  return 0;
}
int ZCALLBACK ErrorStream(voidpf, voidpf) {
  return 0;
}

zlib_filefunc64_def Functions(SMemoryStream& stream) {
  zlib_filefunc64_def f{};
  f.zopen64_file = OpenStream;
  f.zread_file = ReadStream;
  f.zwrite_file = WriteStream;
  f.ztell64_file = TellStream;
  f.zseek64_file = SeekStream;
  f.zclose_file = CloseStream;
  f.zerror_file = ErrorStream;
  f.opaque = &stream;
  return f;
}

constexpr std::uint64_t kMaxDescriptionSize = 64u << 20;

// The uncompressed size of the current entry. Debian's minizip 1.1 leaves the directory's
// 0xFFFFFFFF in place on 64-bit systems instead of taking the size from the zip64 extra field
// (id 1: the 8-byte uncompressed size comes first when the directory's field is 0xFFFFFFFF).
std::uint64_t DeclaredSize(const unz_file_info64& info, const std::vector<std::uint8_t>& extra) {
  if (info.uncompressed_size != 0xFFFFFFFFu)
    return info.uncompressed_size;
  const std::size_t length = std::min<std::size_t>(info.size_file_extra, extra.size());
  for (std::size_t at = 0; at + 4 <= length;) {
    const unsigned id = extra[at] | extra[at + 1] << 8;
    const std::size_t fieldSize = extra[at + 2] | extra[at + 3] << 8;
    if (id == 1 && fieldSize >= 8 && at + 4 + 8 <= length) {
      std::uint64_t size = 0;
      for (int i = 7; i >= 0; --i)
        size = size << 8 | extra[at + 4 + static_cast<std::size_t>(i)];
      return size;
    }
    at += 4 + fieldSize;
  }
  return info.uncompressed_size;
}

// Inflates raw deflate data into exactly `size` bytes: the output never grows past the declared
// size (plus the one byte that shows a longer stream), whatever the data expand to.
bool Inflate(const std::uint8_t* in, std::size_t inSize, std::size_t size,
             std::vector<std::uint8_t>& out) {
  z_stream z{};
  if (inflateInit2(&z, -MAX_WBITS) != Z_OK)
    return false;
  z.next_in = const_cast<Bytef*>(in);
  z.avail_in = static_cast<uInt>(std::min<std::size_t>(inSize, UINT32_MAX));
  constexpr std::size_t kChunk = 64 * 1024;
  int status = Z_OK;
  while (status == Z_OK && out.size() <= size) {
    const std::size_t done = out.size();
    out.resize(done + std::min(kChunk, size + 1 - done));
    z.next_out = out.data() + done;
    z.avail_out = static_cast<uInt>(out.size() - done);
    status = inflate(&z, Z_NO_FLUSH);
    out.resize(out.size() - z.avail_out);
  }
  inflateEnd(&z);
  return status == Z_STREAM_END && out.size() == size;
}

} // namespace

std::vector<std::uint8_t> CMemoryZip::Zip(const std::string& fileName,
                                          const std::vector<std::uint8_t>& content) {
  std::vector<std::uint8_t> archive;
  SMemoryStream stream{&archive};
  zlib_filefunc64_def f = Functions(stream);
  zipFile zip = zipOpen2_64("memory", APPEND_STATUS_CREATE, nullptr, &f);
  if (!zip)
    return {};
  zip_fileinfo info{};
  bool ok = zipOpenNewFileInZip(zip, fileName.c_str(), &info, nullptr, 0, nullptr, 0, nullptr,
                                Z_DEFLATED, Z_BEST_COMPRESSION) == ZIP_OK;
  ok = ok &&
       zipWriteInFileInZip(zip, content.data(), static_cast<unsigned>(content.size())) == ZIP_OK;
  ok = zipCloseFileInZip(zip) == ZIP_OK && ok;
  ok = zipClose(zip, nullptr) == ZIP_OK && ok;
  return ok ? archive : std::vector<std::uint8_t>{};
}

bool CMemoryZip::UnzipFirst(const std::vector<std::uint8_t>& archive,
                            std::vector<std::uint8_t>& out) {
  out.clear();
  // minizip's callbacks take a non-const stream; this one is only read.
  auto& data = const_cast<std::vector<std::uint8_t>&>(archive);
  SMemoryStream stream{&data};
  zlib_filefunc64_def f = Functions(stream);
  unzFile unz = unzOpen2_64("memory", &f);
  if (!unz)
    return false;
  bool ok = unzGoToFirstFile(unz) == UNZ_OK;
  unz_file_info64 info{};
  std::vector<std::uint8_t> extra(0xFFFF);
  ok = ok && unzGetCurrentFileInfo64(unz, &info, nullptr, 0, extra.data(),
                                     static_cast<uLong>(extra.size()), nullptr, 0) == UNZ_OK;
  const std::uint64_t size = ok ? DeclaredSize(info, extra) : 0;
  // minizip finds the entry's data; its own reading would take the zip64 placeholder 0xFFFFFFFF
  // for the compressed size, so the data are inflated here.
  int method = 0;
  ok = ok && size <= kMaxDescriptionSize && unzOpenCurrentFile2(unz, &method, nullptr, 1) == UNZ_OK;
  const std::uint64_t position = ok ? unzGetCurrentFileZStreamPos64(unz) : 0;
  ok = ok && position <= archive.size();
  if (ok) {
    const std::uint8_t* begin = archive.data() + position;
    const std::size_t available = archive.size() - static_cast<std::size_t>(position);
    if (method == Z_DEFLATED) {
      ok = Inflate(begin, available, static_cast<std::size_t>(size), out);
    } else {
      ok = method == 0 && size <= available;
      if (ok)
        out.assign(begin, begin + size);
    }
    ok = unzCloseCurrentFile(unz) == UNZ_OK && ok;
  }
  unzClose(unz);
  ok = ok && crc32(0, out.data(), static_cast<uInt>(out.size())) == info.crc;
  if (!ok)
    out.clear();
  return ok;
}

} // namespace GenCP
