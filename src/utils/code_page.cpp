#include "utils/code_page.h"

#include <array>
#include <cstring>

#include "utils/utf8_char.h"

namespace {

using HalfPage = std::array<char16_t, 128>;  // the code points of the bytes from 0x80 up

constexpr HalfPage kCp1251 = {
    0x0402, 0x0403, 0x201A, 0x0453, 0x201E, 0x2026, 0x2020, 0x2021, 0x20AC, 0x2030, 0x0409, 0x2039, 0x040A,
    0x040C, 0x040B, 0x040F, 0x0452, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x0098, 0x2122,
    0x0459, 0x203A, 0x045A, 0x045C, 0x045B, 0x045F, 0x00A0, 0x040E, 0x045E, 0x0408, 0x00A4, 0x0490, 0x00A6,
    0x00A7, 0x0401, 0x00A9, 0x0404, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x0407, 0x00B0, 0x00B1, 0x0406, 0x0456,
    0x0491, 0x00B5, 0x00B6, 0x00B7, 0x0451, 0x2116, 0x0454, 0x00BB, 0x0458, 0x0405, 0x0455, 0x0457, 0x0410,
    0x0411, 0x0412, 0x0413, 0x0414, 0x0415, 0x0416, 0x0417, 0x0418, 0x0419, 0x041A, 0x041B, 0x041C, 0x041D,
    0x041E, 0x041F, 0x0420, 0x0421, 0x0422, 0x0423, 0x0424, 0x0425, 0x0426, 0x0427, 0x0428, 0x0429, 0x042A,
    0x042B, 0x042C, 0x042D, 0x042E, 0x042F, 0x0430, 0x0431, 0x0432, 0x0433, 0x0434, 0x0435, 0x0436, 0x0437,
    0x0438, 0x0439, 0x043A, 0x043B, 0x043C, 0x043D, 0x043E, 0x043F, 0x0440, 0x0441, 0x0442, 0x0443, 0x0444,
    0x0445, 0x0446, 0x0447, 0x0448, 0x0449, 0x044A, 0x044B, 0x044C, 0x044D, 0x044E, 0x044F,
};

constexpr HalfPage kCp866 = {
    0x0410, 0x0411, 0x0412, 0x0413, 0x0414, 0x0415, 0x0416, 0x0417, 0x0418, 0x0419, 0x041A, 0x041B, 0x041C,
    0x041D, 0x041E, 0x041F, 0x0420, 0x0421, 0x0422, 0x0423, 0x0424, 0x0425, 0x0426, 0x0427, 0x0428, 0x0429,
    0x042A, 0x042B, 0x042C, 0x042D, 0x042E, 0x042F, 0x0430, 0x0431, 0x0432, 0x0433, 0x0434, 0x0435, 0x0436,
    0x0437, 0x0438, 0x0439, 0x043A, 0x043B, 0x043C, 0x043D, 0x043E, 0x043F, 0x2591, 0x2592, 0x2593, 0x2502,
    0x2524, 0x2561, 0x2562, 0x2556, 0x2555, 0x2563, 0x2551, 0x2557, 0x255D, 0x255C, 0x255B, 0x2510, 0x2514,
    0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F, 0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550,
    0x256C, 0x2567, 0x2568, 0x2564, 0x2565, 0x2559, 0x2558, 0x2552, 0x2553, 0x256B, 0x256A, 0x2518, 0x250C,
    0x2588, 0x2584, 0x258C, 0x2590, 0x2580, 0x0440, 0x0441, 0x0442, 0x0443, 0x0444, 0x0445, 0x0446, 0x0447,
    0x0448, 0x0449, 0x044A, 0x044B, 0x044C, 0x044D, 0x044E, 0x044F, 0x0401, 0x0451, 0x0404, 0x0454, 0x0407,
    0x0457, 0x040E, 0x045E, 0x00B0, 0x2219, 0x00B7, 0x221A, 0x2116, 0x00A4, 0x25A0, 0x00A0,
};

/// The characters of two bytes in UTF-8, all of Cyrillic among them, find their cp1251 byte by index.
constexpr std::size_t kDirectCodes = 0x800;

constexpr std::array<char, kDirectCodes> MakeDirectBytes() {
  std::array<char, kDirectCodes> bytes{};
  bytes.fill('?');
  for (unsigned i = 0; i < 0x80; ++i) bytes[i] = static_cast<char>(i);
  for (unsigned i = 0; i < kCp1251.size(); ++i) {
    if (kCp1251[i] < kDirectCodes) bytes[kCp1251[i]] = static_cast<char>(0x80 + i);
  }
  return bytes;
}

constexpr std::array<char, kDirectCodes> kDirectBytes = MakeDirectBytes();

/// The byte of a code point, '?' when cp1251 lacks it.
constexpr char ByteOf(char32_t code) {
  if (code < kDirectCodes) return kDirectBytes[code];
  // What is left are some twenty dashes, quotes and signs, and rare in a text.
  for (unsigned i = 0; i < kCp1251.size(); ++i) {
    if (kCp1251[i] == code) return static_cast<char>(0x80 + i);
  }
  return '?';
}

using ByteMap = std::array<char, 256>;

constexpr int IndexIn(const HalfPage& page, char16_t code) {
  for (unsigned i = 0; i < page.size(); ++i) {
    if (page[i] == code) return static_cast<int>(i);
  }
  return -1;
}

constexpr ByteMap MakeByteMap(const HalfPage& from, const HalfPage& to) {
  ByteMap map{};
  for (unsigned i = 0; i < 0x80; ++i) {
    map[i] = static_cast<char>(i);
    const int index = IndexIn(to, from[i]);
    map[0x80 + i] = index < 0 ? '?' : static_cast<char>(0x80 + index);
  }
  return map;
}

constexpr ByteMap kDosToWin = MakeByteMap(kCp866, kCp1251);
constexpr ByteMap kWinToDos = MakeByteMap(kCp1251, kCp866);

void MapBytes(const ByteMap& map, char* text, std::size_t len) {
  for (std::size_t i = 0; i < len; ++i) text[i] = map[static_cast<unsigned char>(text[i])];
}

/// A cp1251 byte in UTF-8.
struct Encoded {
  char bytes[3];
  unsigned char length;
};
static_assert(sizeof(Encoded) == 4, "written out as one word");

constexpr Encoded Encode(char16_t code) {
  char bytes[utils::kMaxUtf8Char] = {};
  const char* end = utils::WriteUtf8Char(bytes, code);
  return {{bytes[0], bytes[1], bytes[2]}, static_cast<unsigned char>(end - bytes)};
}

constexpr std::array<Encoded, 256> MakeEncodings() {
  std::array<Encoded, 256> table{};
  for (unsigned i = 0; i < 0x80; ++i) {
    table[i] = Encode(static_cast<char16_t>(i));
    table[0x80 + i] = Encode(kCp1251[i]);
  }
  return table;
}

constexpr std::array<Encoded, 256> kEncodings = MakeEncodings();

constexpr std::size_t kChunk =
    2048;  // bytes of input per turn: the output of a turn stays in the nearest cache

char* EncodeByte(char c, char* to) {
  const Encoded& encoded = kEncodings[static_cast<unsigned char>(c)];
  std::memcpy(to, &encoded, sizeof encoded);  // what is too much is overwritten by the next
  return to + encoded.length;
}

/// Converts one chunk; `to` has room for three bytes per byte and one more. Gives the end of the output.
char* EncodeChunk(std::string_view chunk, char* to) {
  std::size_t i = 0;
  for (std::uint64_t word; i + sizeof word <= chunk.size(); i += sizeof word) {
    if (utils::LoadAscii8(chunk.data() + i, &word)) {
      std::memcpy(to, &word, sizeof word);
      to += sizeof word;
      continue;
    }
    for (std::size_t k = 0; k < sizeof word; ++k) to = EncodeByte(chunk[i + k], to);
  }
  for (; i < chunk.size(); ++i) to = EncodeByte(chunk[i], to);
  return to;
}

/// The byte for the character at `i`, which is moved behind it.
char DecodeNext(std::string_view utf8, std::size_t& i) {
  int used;
  const char32_t code = utils::ReadUtf8Char(utf8.data() + i, utf8.size() - i, &used);
  const char byte = used == 1 ? utf8[i] : ByteOf(code);
  i += static_cast<std::size_t>(used);
  return byte;
}

}  // namespace

namespace backup {

void AnsiToUtf8(std::string_view in, std::string& out) {
  char buffer[sizeof Encoded::bytes * kChunk + 1];
  out.clear();
  for (std::size_t start = 0; start < in.size(); start += kChunk) {
    const char* end = EncodeChunk(in.substr(start, kChunk), buffer);
    out.append(buffer, static_cast<std::size_t>(end - buffer));
  }
}

void Utf8ToAnsi(std::string_view in, std::string& out) {
  out.resize(in.size());  // a character takes at least one byte in UTF-8
  char* to = out.data();
  for (std::size_t i = 0; i < in.size();) {
    std::uint64_t word;
    if (i + sizeof word <= in.size() && utils::LoadAscii8(in.data() + i, &word)) {
      std::memcpy(to, &word, sizeof word);
      to += sizeof word;
      i += sizeof word;
      continue;
    }
    *to++ = DecodeNext(in, i);
    while (i < in.size() && static_cast<unsigned char>(in[i]) >= 0x80) *to++ = DecodeNext(in, i);
  }
  out.resize(static_cast<std::size_t>(to - out.data()));
}

std::string AnsiToUtf8(std::string_view cp1251) {
  std::string out;
  AnsiToUtf8(cp1251, out);
  return out;
}

std::string Utf8ToAnsi(std::string_view utf8) {
  std::string out;
  Utf8ToAnsi(utf8, out);
  return out;
}

void doswinp(char* text, std::size_t len) {
  MapBytes(kDosToWin, text, len);
}

void windosp(char* text, std::size_t len) {
  MapBytes(kWinToDos, text, len);
}

bool ZaboyString(std::string& text) {
  bool changed = false;
  for (char& c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) continue;
    c = ' ';
    changed = true;
  }
  return changed;
}

}  // namespace backup

namespace utils {

char32_t Cp1251ToUnicode(unsigned char byte) {
  return byte < 0x80 ? byte : kCp1251[byte - 0x80u];
}

int UnicodeToCp1251(char32_t code) {
  const char byte = ByteOf(code);
  return byte == '?' && code != U'?' ? -1 : static_cast<unsigned char>(byte);
}

}  // namespace utils
