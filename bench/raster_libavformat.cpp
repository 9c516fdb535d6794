// Films of bitmaps by libavformat, which hands out packets: rows from the lowest up are put in order here.
extern "C" {
#include <libavformat/avformat.h>
}

#include "bench/files.hpp"
#include "bench/raster_peers.hpp"

namespace {

void flip(const frames::frame &f, const uint8_t *from, uint8_t *to) {
  for (size_t y = 0; y < f.height; y++)
    std::memcpy(to + (f.height - 1 - y) * f.row_bytes(), from + y * f.row_bytes(), f.row_bytes());
}

void write(const frames::frame &f, const std::string &path) {
  AVFormatContext *film = nullptr;
  must(avformat_alloc_output_context2(&film, nullptr, "avi", path.c_str()) >= 0, "avi");
  AVStream *const stream = avformat_new_stream(film, nullptr);
  stream->time_base = {1, 25};
  stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
  stream->codecpar->codec_id = AV_CODEC_ID_RAWVIDEO;
  stream->codecpar->format = AV_PIX_FMT_BGR24;
  stream->codecpar->bits_per_coded_sample = 24;
  stream->codecpar->width = int(f.width);
  stream->codecpar->height = int(f.height);
  must(avio_open(&film->pb, path.c_str(), AVIO_FLAG_WRITE) >= 0, "open");
  must(avformat_write_header(film, nullptr) >= 0, "header");
  AVPacket *packet = av_packet_alloc();
  must(av_new_packet(packet, int(f.bytes.size())) >= 0, "packet");
  flip(f, f.bytes.data(), packet->data);
  packet->flags |= AV_PKT_FLAG_KEY;
  packet->duration = 1;
  packet->pts = packet->dts = 0;
  must(av_write_frame(film, packet) >= 0 && av_write_trailer(film) >= 0, "write");
  av_packet_free(&packet);
  avio_closep(&film->pb);
  avformat_free_context(film);
}

void read(const frames::frame &f, const std::string &path, uint8_t *pixels) {
  AVFormatContext *film = nullptr;
  must(avformat_open_input(&film, path.c_str(), nullptr, nullptr) >= 0, "open");
  AVPacket *packet = av_packet_alloc();
  must(av_read_frame(film, packet) >= 0 && size_t(packet->size) == f.bytes.size(), "read");
  flip(f, packet->data, pixels);
  av_packet_free(&packet);
  avformat_close_input(&film);
}

}  // namespace

const raster_peer libavformat_avi = {"avi", "libavformat", ".avi", write, read};
