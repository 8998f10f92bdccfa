#include <gencp/MemoryZip.h>

#include <minizip/unzip.h>
#include <minizip/zip.h>

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
  // minizip's callbacks take a non-const stream; this one is only read.
  auto& data = const_cast<std::vector<std::uint8_t>&>(archive);
  SMemoryStream stream{&data};
  zlib_filefunc64_def f = Functions(stream);
  unzFile unz = unzOpen2_64("memory", &f);
  if (!unz)
    return false;
  bool ok = unzGoToFirstFile(unz) == UNZ_OK;
  unz_file_info64 info{};
  ok = ok && unzGetCurrentFileInfo64(unz, &info, nullptr, 0, nullptr, 0, nullptr, 0) == UNZ_OK;
  // A camera's description is small; refuse absurd sizes from a damaged directory.
  ok = ok && info.uncompressed_size < (64u << 20);
  ok = ok && unzOpenCurrentFile(unz) == UNZ_OK;
  if (ok) {
    out.assign(static_cast<std::size_t>(info.uncompressed_size), 0);
    std::size_t done = 0;
    while (ok && done < out.size()) {
      const int n =
          unzReadCurrentFile(unz, out.data() + done, static_cast<unsigned>(out.size() - done));
      ok = n > 0;
      if (ok)
        done += static_cast<std::size_t>(n);
    }
    // Closing checks the CRC of what was read.
    ok = unzCloseCurrentFile(unz) == UNZ_OK && ok;
  }
  unzClose(unz);
  return ok;
}

} // namespace GenCP
