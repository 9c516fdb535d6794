// Words for what the library expresses as codes.
#pragma once

#include <cstdint>
#include <string>

#include <qvimage/fileinfo.h>

namespace tool {

std::string describe_type(const qvimagedata &data);  // "12-bit", "32-bit float"
std::string type_name(const qvimagedata &data);      // "uint16", "float32"
int32_t bits_of(const qvimagedata &data);
bool blue_first(int32_t hint);              // RGB held the other way round
bool is_datetime(const std::string &text);  // "YYYY:MM:DD hh:mm:ss"
bool is_rgb(int32_t hint);                  // in any order, with or without a pad
std::string describe_colour(const qvimagedata &data);
std::string component_name(const qvimagedata &data, int32_t component);  // "red", "2"

// "300 x 300 per inch"; empty when the file says nothing.
std::string describe_resolution(const qvimagefileinfo &info);
std::string resolution_unit(const qvimagefileinfo &info);  // "inch", "centimetre", "none"
void set_ratio(uint32_t ratio[2], double value);           // thousandths keep what people write
double resolution(const uint32_t ratio[2]);                // 0 when unknown

}  // namespace tool
