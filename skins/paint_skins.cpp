// Paints the program's skins; part of the build.
#include <exception>
#include <iostream>

#include "skins/skin_set.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: paint_skins FOLDER\n";
    return 2;
  }
  try {
    halveron::skins::PaintSkins(argv[1]);
  } catch (const std::exception& error) {
    std::cerr << "paint_skins: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
