// Reads DDS files of any layout with the general reader.
#include <cstdint>
#include <cstdlib>

#include "FuzzFile.h"
#include "dds/TddsReader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const FuzzFile file(data, size);
  TddsReader reader;
  const int result = reader.read(file.Path().c_str());
  if (result != (size >= 128 ? 0 : -1)) std::abort();
  unsigned sum = 0;
  const int rowBytes = reader.GetWidth() * reader.GetChannels() * reader.GetBitsPerChannel() / 8;
  for (int y = 0; y < reader.GetHeight(); ++y) {
    for (int i = 0; i < rowBytes; ++i) sum += reader.GetRow(y)[i];
  }
  if (result == 0 && !reader.GetChannelRows(reader.GetHeight() - 1)) std::abort();
  (void)reader.ReadSlice(file.Path().c_str(), sum % 64, reader.GetWidth(), reader.GetHeight());
  return 0;
}
