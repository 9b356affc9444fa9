// Makes a picture of two gradients in square blocks of reserved memory and saves it: hello OUT.bmp
#include <qel/qel.h>

#include <cstdio>
#include <vector>

int main(int argc, char **argv) {
  if (argc != 2) return std::fputs("usage: hello OUT.bmp\n", stderr), 2;
  PQel image;  // 24-bit, 256 x 128, no colour table, 3780 dots per metre, reserved memory, block layout, no undo
  if (!image.CreateImage(1, 256, 128, 0, nullptr, 3780, 3780, 4, 1, 0)) return 1;
  std::vector<unsigned char> row(image.GetLineBytes());
  for (long y = 0; y < image.GetImageHeight(); ++y) {
    for (long x = 0; x < image.GetImageWidth(); ++x) {
      row[3 * x] = static_cast<unsigned char>(x);            // blue grows to the right
      row[3 * x + 1] = static_cast<unsigned char>(2 * y);    // green grows downwards
      row[3 * x + 2] = static_cast<unsigned char>(255 - x);  // red grows to the left
    }
    if (!image.PutHorLine(y, row.data())) return 1;
  }
  if (!image.SaveDIB(argv[1], 0)) return 1;
  std::printf("%s: %ld x %ld pixels of %d bits\n", argv[1], image.GetImageWidth(), image.GetImageHeight(),
              image.GetBitCount());
}
