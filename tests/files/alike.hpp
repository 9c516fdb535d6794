// Two images that must be alike: one of a file, and a memory image, which has a model of its own.
#pragma once

#include "core/dimension.hpp"
#include "tests/files/pictures.hpp"

struct choices {
  std::mt19937 random;
  uint32_t below(uint32_t n) { return random() % n; }
};

// The same calls on both, in any window, scan order, form and mask; what differs is a failure.
template <class Record>
void expect_alike(choices &from, Record &file, Record &memory, bool writes) {
  using Dim = qvim::dimension_of<Record>;
  const uint32_t types = uint32_t(memory.d.pixietype), all = (1u << memory.d.pixies) - 1;
  const auto whole = qvim::box<Dim>::of(&memory.imdim);
  for (int round = 0; round < 12; round++) {
    if (from.below(4) == 0) {
      auto box = whole;
      for (int axis = 0; axis < Dim::axes; axis++) {
        const int32_t extent = int32_t(whole.extent(axis));
        box.nw[axis] = int32_t(from.below(uint32_t(std::min(extent, 4))));
        box.se[axis] = box.nw[axis] + 1 + int32_t(from.below(uint32_t(extent - box.nw[axis])));
      }
      typename Dim::window w;
      std::memcpy(&w, &box, sizeof w);
      ASSERT_EQ(!file.xwind(&file, &w, 's'), !memory.xwind(&memory, &w, 's'));
    }
    const uint32_t scans[] = {0, QVIM_YSCAN, QVIM_ZSCAN, QVIM_YSCAN, 0, QVIM_YSCAN | QVIM_ZSCAN};
    const uint32_t mode = scans[from.below(6)] | (from.below(2) ? QVIM_WRAP : 0);
    const uint32_t flags[] = {0, QVIM_LSB, QVIM_MSB, QVIM_SWAPPED, QVIM_DIRTY};
    const uint32_t type = (from.below(20) ? types : 3) | flags[from.below(5)] | flags[from.below(5)];
    const uint32_t mask = from.below(2)   ? all
                          : from.below(8) ? 1u << from.below(uint32_t(memory.d.pixies))
                                          : 5;
    const int32_t code = memory.ioset(&memory, mode, type, mask);
    ASSERT_EQ(file.ioset(&file, mode, type, mask), code);
    qvim::point<Dim> at;
    for (int axis = 0; axis < Dim::axes; axis++) at[axis] = int32_t(from.below(whole.extent(axis) + 2)) - 1;
    bytes there(4096), here;
    for (auto &b : there) b = uint8_t(from.random());
    here = there;
    const uint32_t n = 1 + from.below(40);
    ASSERT_EQ(qvim::call_length(&file, n, at), qvim::call_length(&memory, n, at));
    if (writes && from.below(2)) {
      ASSERT_EQ(qvim::call_write(&file, 0, here.data(), n, at),
                qvim::call_write(&memory, 0, there.data(), n, at));
    } else {
      ASSERT_EQ(qvim::call_read(&file, 0, here.data(), n, at),
                qvim::call_read(&memory, 0, there.data(), n, at));
      ASSERT_EQ(here, there) << "type " << type << " mask " << mask << " mode " << mode;
    }
    if (file.imapset(&file, 0, types, all) <= 0) continue;
    qvimagemap map;
    if (qvim::call_map(&file, &map, at) == 1) {
      ASSERT_EQ(memory.ioset(&memory, 0, types, all), 1);
      const uint32_t length = uint32_t(map.length);
      ASSERT_EQ(qvim::call_read(&memory, 0, there.data(), length, at), length);
      ASSERT_EQ(std::memcmp(there.data(), reinterpret_cast<void *>(map.address), length * map.step), 0);
    }
  }
}
