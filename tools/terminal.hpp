// What the terminal can show.
#pragma once

namespace tool {

void set_up_terminal();  // once, first: character set of the user's locale, numbers as everywhere

bool shows_unicode();
bool is_terminal(int descriptor);
int terminal_width(int descriptor);  // columns; 80 when it is no terminal

}  // namespace tool
