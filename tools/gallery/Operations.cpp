// gallery_operations A B FOLDER: a PNG picture of each operation of the library on the pictures A and B, and
// a line for it on standard output: "file<tab>family<tab>operation".

#include <cstdio>
#include <exception>

#include "Gallery.h"

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: gallery_operations A B FOLDER\n");
        return 2;
    }
    try {
        gallery::Gallery pictures(argv[1], argv[2], argv[3]);
        pictures.Compositing();
        pictures.PlainMemory();
        pictures.Conversions();
        pictures.Tone();
        pictures.Masks();
        pictures.Keys();
        pictures.Overlays();
        pictures.Filters();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "gallery_operations: %s\n", error.what());
        return 1;
    }
    return 0;
}
