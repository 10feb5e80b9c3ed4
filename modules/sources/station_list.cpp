#include "modules/sources/station_list.h"

#include <cstdio>
#include <string_view>

#include "platform/file_error.h"
#include "platform/whole_file.h"

namespace halveron {

namespace {

constexpr std::string_view kFirstList =
    "#EXTM3U\n"
    "# The stations of the S313 Internet Radio, in the order of their numbers. Yours to edit: a "
    "line\n"
    "# \"#EXTINF:-1,Name\", then the address of a stream or of a playlist (.pls, .m3u, .m3u8).\n"
    "# The module reads the list when it is made and each time you connect.\n"
    "#EXTINF:-1,BBC World Service\n"
    "http://stream.live.vc.bbcmedia.co.uk/bbc_world_service\n"
    "#EXTINF:-1,Deutschlandfunk\n"
    "http://st01.dlf.de/dlf/01/128/mp3/stream.mp3\n"
    "#EXTINF:-1,Deutschlandfunk Kultur\n"
    "http://st02.dlf.de/dlf/02/128/mp3/stream.mp3\n"
    "#EXTINF:-1,Deutschlandfunk Nova\n"
    "http://st03.dlf.de/dlf/03/128/mp3/stream.mp3\n"
    "#EXTINF:-1,Radio France: FIP\n"
    "http://icecast.radiofrance.fr/fip-midfi.mp3\n"
    "#EXTINF:-1,Radio France: France Musique\n"
    "http://icecast.radiofrance.fr/francemusique-midfi.mp3\n"
    "#EXTINF:-1,Radio France: France Inter\n"
    "http://icecast.radiofrance.fr/franceinter-midfi.mp3\n"
    "#EXTINF:-1,Radio Swiss Classic\n"
    "http://stream.srg-ssr.ch/m/rsc_de/mp3_128\n"
    "#EXTINF:-1,Radio Swiss Jazz\n"
    "http://stream.srg-ssr.ch/m/rsj/mp3_128\n"
    "#EXTINF:-1,Radio Swiss Pop\n"
    "http://stream.srg-ssr.ch/m/rsp/mp3_128\n"
    "#EXTINF:-1,RTS Espace 2\n"
    "http://stream.srg-ssr.ch/m/espace-2/mp3_128\n"
    "#EXTINF:-1,VRT Klara\n"
    "http://icecast.vrtcdn.be/klara-high.mp3\n"
    "#EXTINF:-1,VRT Klara Continuo\n"
    "http://icecast.vrtcdn.be/klaracontinuo-high.mp3\n"
    "#EXTINF:-1,NRK Klassisk\n"
    "https://lyd.nrk.no/nrk_radio_klassisk_mp3_h\n"
    "#EXTINF:-1,NRK Jazz\n"
    "https://lyd.nrk.no/nrk_radio_jazz_mp3_h\n"
    "#EXTINF:-1,Sveriges Radio P2\n"
    "https://http-live.sr.se/p2musik-mp3-192\n";

/// Leaves a file that is there, also one that another instance writes at this moment.
void WriteFirstList(const std::string& path) {
  std::FILE* const file = std::fopen(path.c_str(), "wbx");
  if (!file) return;
  std::fwrite(kFirstList.data(), 1, kFirstList.size(), file);
  std::fclose(file);
}

}  // namespace

std::vector<media::PlaylistEntry> LoadStations(const std::string& dataFolder) {
  if (dataFolder.empty()) return {};
  const std::string path = dataFolder + kStationsFile;
  WriteFirstList(path);
  try {
    const std::vector<std::byte> bytes = platform::ReadWholeFile(path);
    return media::ReadStationList({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  } catch (const platform::FileError&) {
    return {};
  }
}

}  // namespace halveron
