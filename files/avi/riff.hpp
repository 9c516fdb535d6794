// What AVI files are made of: chunks of a four-character code, a length and data, some of them lists of
// chunks.
#pragma once

#include <cstdint>

namespace qvim::avi {

constexpr uint32_t fourcc(const char (&text)[5]) {
  return uint32_t(uint8_t(text[0])) | uint32_t(uint8_t(text[1])) << 8 | uint32_t(uint8_t(text[2])) << 16 |
         uint32_t(uint8_t(text[3])) << 24;
}

inline constexpr uint32_t riff = fourcc("RIFF"), list = fourcc("LIST"), junk = fourcc("JUNK");
inline constexpr uint32_t avi_form = fourcc("AVI "), more_form = fourcc("AVIX");
inline constexpr uint32_t headers = fourcc("hdrl"), main_header = fourcc("avih"),
                          stream_list = fourcc("strl"), stream_header = fourcc("strh"),
                          stream_format = fourcc("strf"), super_index = fourcc("indx"),
                          extended_list = fourcc("odml"), extended_header = fourcc("dmlh"),
                          movie = fourcc("movi"), old_index = fourcc("idx1"), chunk_index = fourcc("ix00"),
                          texts_list = fourcc("INFO");
inline constexpr uint32_t video = fourcc("vids"), plain_handler = fourcc("DIB "),
                          jpeg_handler = fourcc("MJPG");
inline constexpr uint32_t plain_frame = fourcc("00db"), jpeg_frame = fourcc("00dc");

inline constexpr uint32_t chunk_head = 8, list_head = 12;  // bytes: code and length; and the list's own code
inline constexpr uint32_t key_frame = 0x10;                // in the old index
inline constexpr uint8_t index_of_indexes = 0, index_of_chunks = 1;
inline constexpr uint32_t delta_frame = 0x80000000;  // beside the length in an index of chunks

}  // namespace qvim::avi
