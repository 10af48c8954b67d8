#include "media-server/container/format_identity.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/media-server/container/gzip_stored.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

using namespace std::string_literals;

std::optional<FormatIdentity> Identify(const std::string& bytes) {
  MemorySource source(bytes);
  return IdentifyFormat(source);
}

std::string ShortName(const std::string& bytes) {
  const auto identity = Identify(bytes);
  return identity ? std::string(identity->names.short_name) : "none";
}

std::string Ftyp(const std::string& major, const std::string& compatible = "") {
  return Be(16 + compatible.size(), 4)  // size
         + "ftyp" + major + Be(512, 4)  // minor version
         + compatible;
}

/// ID3v2.4 tag without frames whose body is `body_size` zero bytes.
std::string Id3(std::size_t body_size, char flags = 0) {
  return "ID3\4"s + '\0' + flags                                                                 // version, flags
         + '\0' + '\0' + static_cast<char>(body_size >> 7) + static_cast<char>(body_size & 127)  // seven bits a byte
         + Zeros(body_size);
}

/// MPEG-1 layer III, 128 kbit/s, 44100 Hz, no padding: 144 * 128000 / 44100 = 417 bytes.
std::string Mp3Frame() { return "\xff\xfb\x90\x64"s + Zeros(413); }

/// ADTS, AAC LC, 44100 Hz, two channels, 100 bytes.
std::string AdtsFrame() { return "\xff\xf1\x50\x80\x0c\x9f\xfc"s + Zeros(93); }

std::string TransportPacket(std::size_t pitch) {
  const std::string packet = "\x47\x1f\xff\x10"s + Zeros(184);  // null packet, payload only
  if (pitch == 192) return Zeros(4) + packet;
  return packet + Zeros(pitch - packet.size());
}

std::string Utf16(const std::string& text) {
  std::string units;
  for (const char sign : text) units += sign + "\0"s;
  return units;
}

std::string Repeat(const std::string& piece, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += piece;
  return all;
}

TEST(FormatIdentity, NamesTheDemuxerOfAMediaFile) {
  const auto wave = Identify("RIFF\x10\0\0\0WAVEfmt "s);
  ASSERT_TRUE(wave);
  EXPECT_EQ(wave->kind, ContentKind::kMedia);
  EXPECT_EQ(wave->demuxer, "wav");
  EXPECT_EQ(wave->names.short_name, "wav");
  EXPECT_EQ(wave->names.long_name, "WAVE");
}

TEST(FormatIdentity, FixedBytesProveAFormat) {
  EXPECT_EQ(ShortName("RIFF\0\0\0\0AVI "s), "avi");
  EXPECT_EQ(ShortName("RF64\xff\xff\xff\xffWAVE"s), "wav");
  EXPECT_EQ(ShortName("FORM\0\0\0\0AIFC"s), "aiff");
  EXPECT_EQ(ShortName("fLaC"s), "flac");
  EXPECT_EQ(ShortName("caff\0\1"s), "caf");
  EXPECT_EQ(ShortName("FLV\1"s), "flv");
  EXPECT_EQ(ShortName("FRM8\0\0\0\0\0\0\0\0DSD "s), "dff");
  EXPECT_EQ(ShortName("#!AMR\n"s), "amr");
  EXPECT_EQ(ShortName("WEBVTT\n\n"s), "webvtt");
  EXPECT_EQ(ShortName("wvpk"s), "wv");
}

TEST(FormatIdentity, AMagicThatIsCutProvesNothing) {
  EXPECT_EQ(ShortName(""), "none");
  EXPECT_EQ(ShortName("fLa"s), "none");
  EXPECT_EQ(ShortName("RIFF\0\0\0\0WAV"s), "none");
  EXPECT_EQ(ShortName("RIFF\0\0\0\0XXXX"s), "none");
}

TEST(FormatIdentity, StillImagesHaveNoDemuxer) {
  for (const std::string& bytes : {"\xff\xd8\xff\xe0"s, "\x89PNG\r\n\x1a\n"s, "GIF89a"s, "RIFF\0\0\0\0WEBPVP8 "s,
                                   "II*\0"s, "MM\0*"s, "8BPS\0\1"s, "\xff\x0a"s, Ftyp("mif1", "heic")}) {
    const auto identity = Identify(bytes);
    ASSERT_TRUE(identity);
    EXPECT_EQ(identity->kind, ContentKind::kStillImage) << identity->names.short_name;
    EXPECT_EQ(identity->demuxer, "");
  }
}

TEST(FormatIdentity, CameraRawsWithAMagicOfTheirOwn) {
  EXPECT_EQ(ShortName("IIU\0"s), "rw2");
  EXPECT_EQ(ShortName("IIRO"s), "orf");
  EXPECT_EQ(ShortName("IIRS"s), "orf");
  EXPECT_EQ(ShortName("MMOR"s), "orf");
  EXPECT_EQ(ShortName("FUJIFILMCCD-RAW 0201"s), "raf");
  EXPECT_EQ(ShortName("FOVb"s), "x3f");
  EXPECT_EQ(ShortName("\0MRM"s), "mrw");
  EXPECT_EQ(ShortName("\0MRI"s), "none");
  EXPECT_EQ(ShortName("II\x1a\0\0\0HEAPCCDR"s), "crw");
  EXPECT_EQ(ShortName("II\x1a\0\0\0HEAPJPGM"s), "none");
  EXPECT_EQ(Identify("\0MRM"s)->kind, ContentKind::kStillImage);
}

TEST(FormatIdentity, DocumentsAndArchivesAreNoMedia) {
  for (const std::string& bytes :
       {"%PDF-1.7"s, "PK\3\4"s, "MThd\0\0\0\6"s, "{\\rtf1"s, "<?xml version=\"1.0\"?><note/>"s}) {
    const auto identity = Identify(bytes);
    ASSERT_TRUE(identity);
    EXPECT_EQ(identity->kind, ContentKind::kOther) << identity->names.short_name;
  }
}

TEST(FormatIdentity, MajorBrandNamesTheBoxFormat) {
  EXPECT_EQ(ShortName(Ftyp("isom", "isommp42")), "mp4");
  EXPECT_EQ(ShortName(Ftyp("qt  ")), "mov");
  EXPECT_EQ(ShortName(Ftyp("M4A ", "mp42isom")), "m4a");
  EXPECT_EQ(ShortName(Ftyp("M4B ")), "m4b");
  EXPECT_EQ(ShortName(Ftyp("M4VH")), "m4v");
  EXPECT_EQ(ShortName(Ftyp("3gp5")), "3gp");
  EXPECT_EQ(ShortName(Ftyp("3g2a")), "3g2");
  EXPECT_EQ(ShortName(Ftyp("zzzz")), "mp4");
  EXPECT_EQ(Identify(Ftyp("3gp5"))->demuxer, "mov");
}

TEST(FormatIdentity, CompatibleBrandTellsAvifUnderAPlainMajorBrand) {
  EXPECT_EQ(ShortName(Ftyp("avif", "mif1")), "avif");
  EXPECT_EQ(ShortName(Ftyp("mif1", "miafavif")), "avif");
  EXPECT_EQ(ShortName(Ftyp("mif1", "miafheic")), "heif");
  EXPECT_EQ(ShortName(Ftyp("isom", "avif")), "mp4");
}

TEST(FormatIdentity, ProfilesMayBeTheMajorBrandOfAnImage) {
  EXPECT_EQ(ShortName(Ftyp("MiHB", "mif1heic")), "heif");
  EXPECT_EQ(ShortName(Ftyp("evms", "msf1")), "heif");
  EXPECT_EQ(ShortName(Ftyp("MA1B", "avif")), "avif");
}

TEST(FormatIdentity, ImageBrandsAreStillImages) {
  for (const char* brand : {"heic", "heix", "hevc", "mif1", "msf1", "avis", "crx ", "jp2 ", "jxl "}) {
    EXPECT_EQ(Identify(Ftyp(brand))->kind, ContentKind::kStillImage) << brand;
  }
}

TEST(FormatIdentity, FtypTooShortForABrandProvesNothing) {
  EXPECT_EQ(ShortName(Be(11, 4) + "ftypisom"), "none");
  EXPECT_EQ(ShortName(Be(1, 4) + "ftyp" + Be(19, 8) + "isom"), "none");
}

TEST(FormatIdentity, FtypMayHaveALargeSize) {
  EXPECT_EQ(ShortName(Be(1, 4) + "ftyp" + Be(24, 8) + "M4A " + Be(0, 4)), "m4a");
  EXPECT_EQ(ShortName(Be(1, 4) + "ftyp" + Be(28, 8) + "mif1" + Be(0, 4) + "avif"), "avif");
}

TEST(FormatIdentity, MovieWithoutBrandIsQuickTimeWhenTheNextBoxFits) {
  EXPECT_EQ(ShortName(Be(12, 4) + "mdat" + Zeros(4) + Be(8, 4) + "moov"), "mov");
  EXPECT_EQ(ShortName(Be(1, 4) + "mdat" + Be(16, 8) + Be(8, 4) + "moov"), "mov");
  EXPECT_EQ(ShortName(Be(12, 4) + "mdat" + Zeros(4) + Be(8, 4) + "mxxv"), "none");
  EXPECT_EQ(ShortName(Be(7, 4) + "mdat" + Zeros(20)), "none");
}

TEST(FormatIdentity, MovieCutWithinItsFirstBoxIsQuickTime) {
  EXPECT_EQ(ShortName(Be(1000, 4) + "mdat" + Zeros(4)), "mov");
  MemorySource endless(Be(1000, 4) + "mdat" + Zeros(4));
  endless.ForgetSize();
  EXPECT_FALSE(IdentifyFormat(endless));
}

TEST(FormatIdentity, WordsWhereABoxHasItsTypeAreNoMovie) {
  EXPECT_EQ(ShortName("/* guuid.h - unique ids */"), "none");
  EXPECT_EQ(ShortName(Be(1000, 4) + "free" + Zeros(4)), "none");
  EXPECT_EQ(ShortName(Be(12, 4) + "free" + Zeros(4)), "mov") << "a whole box";
}

TEST(FormatIdentity, BoxOfTheLargestSizeDoesNotWrapAround) {
  EXPECT_EQ(ShortName(Be(1, 4) + "mdat" + Be(UINT64_MAX, 8) + Be(8, 4) + "moov"), "mov");
  EXPECT_EQ(ShortName(Id3(10) + Be(1, 4) + "mdat" + Be(UINT64_MAX, 8) + Be(8, 4) + "moov"), "none");
}

TEST(FormatIdentity, MotionJpeg2000SharesTheSignatureOfAStillImage) {
  const std::string signature = "\0\0\0\x0cjP  \r\n\x87\n"s;
  EXPECT_EQ(ShortName(signature + Ftyp("mjp2")), "mj2");
  EXPECT_EQ(ShortName(signature + Ftyp("jp2 ")), "jp2");
}

TEST(FormatIdentity, DocumentTypeNamesTheEbmlFormat) {
  EXPECT_EQ(ShortName("\x1a\x45\xdf\xa3\x87\x42\x82\x84webm"s), "webm");
  EXPECT_EQ(ShortName("\x1a\x45\xdf\xa3\x8f\x42\x86\x81\x01\x42\x82\x88matroska"s), "mkv");
  EXPECT_EQ(ShortName("\x1a\x45\xdf\xa3\x87\x42\x82\x84mxkv"s), "none");
  EXPECT_EQ(ShortName("\x1a\x45\xdf\xa3\x87\x42\x82\x84we"s), "none");
  EXPECT_EQ(ShortName("\x1a\x45\xdf\xa3\x87\x42\x86\x81\x01"s), "none");
}

TEST(FormatIdentity, FirstPacketNamesTheOggCodec) {
  const std::string page = "OggS\0\2"s + Zeros(20) + "\x01\x13"s;  // one segment of 19 bytes
  EXPECT_EQ(ShortName(page + "OpusHead"), "opus");
  EXPECT_EQ(ShortName(page + "\x01vorbis"), "ogg");
  EXPECT_EQ(ShortName(page + "\x7f" + "FLAC"), "oga");
  EXPECT_EQ(ShortName("OggS\0\2"s), "ogg");
}

TEST(FormatIdentity, PackHeaderNeedsItsMarkerBits) {
  EXPECT_EQ(ShortName("\0\0\1\xba\x21\0\1\0\1\x80\0\1"s), "mpegps");
  EXPECT_EQ(ShortName("\0\0\1\xba\x44\0\4\0\4\1\0\0"s), "mpegps");
  EXPECT_EQ(ShortName("\0\0\1\xba\x44\0\0\0\0\0\0\0"s), "none");
}

TEST(FormatIdentity, SequenceHeaderNeedsAFollowingStartCode) {
  const std::string sequence = "\0\0\1\xb3\x14\x00\xf0\x14\0\xc8\x20\xa0"s;  // 320x240, marker bit
  EXPECT_EQ(ShortName(sequence + "\0\0\1\xb8\0\0\0\0"s), "mpegvideo");
  EXPECT_EQ(ShortName(sequence + Zeros(40)), "none");
}

TEST(FormatIdentity, MpegAudioNeedsFourFramesInARow) {
  EXPECT_EQ(ShortName(Repeat(Mp3Frame(), 4)), "mp3");
  EXPECT_EQ(ShortName(Repeat(Mp3Frame(), 3) + "noise and more noise"), "none");
  EXPECT_EQ(ShortName(Mp3Frame() + "\0"s + Repeat(Mp3Frame(), 3)), "none");
}

TEST(FormatIdentity, TwoFramesSufficeAtTheEnd) {
  EXPECT_EQ(ShortName(Repeat(Mp3Frame(), 2)), "mp3");
  EXPECT_EQ(ShortName(Repeat(Mp3Frame(), 2) + "TAG" + Zeros(125)), "mp3");
  EXPECT_EQ(ShortName(Mp3Frame()), "none");
}

TEST(FormatIdentity, FramesOfAnotherSampleRateDoNotCount) {
  std::string other = Mp3Frame();
  other[2] = '\x94';  // 48000 Hz: 384 bytes
  other.resize(384);
  EXPECT_EQ(ShortName(other + Repeat(Mp3Frame(), 3)), "none");
}

TEST(FormatIdentity, LayerIsPartOfTheName) {
  EXPECT_EQ(ShortName(Repeat("\xff\xfd\x80\x04"s + Zeros(413), 4)), "mp2");  // 128 kbit/s, 44100 Hz: 417 bytes
  EXPECT_EQ(ShortName(Repeat("\xff\xff\x18\x04"s + Zeros(44), 4)), "mp1");   // 32 kbit/s, 32000 Hz: 12 * 4 bytes
}

TEST(FormatIdentity, AdtsFramesAreAac) {
  EXPECT_EQ(ShortName(Repeat(AdtsFrame(), 4)), "aac");
  EXPECT_EQ(ShortName(AdtsFrame() + Zeros(200)), "none");
}

TEST(FormatIdentity, Ac3AndEac3AreToldApartByTheStreamId) {
  const std::string ac3 = "\x0b\x77\0\0\x00\x40\x43"s + Zeros(121);   // 48000 Hz, 32 kbit/s: 64 words, stream id 8
  const std::string eac3 = "\x0b\x77\0\x3f\x00\x80\0"s + Zeros(121);  // 64 words, stream id 16
  EXPECT_EQ(ShortName(Repeat(ac3, 4)), "ac3");
  EXPECT_EQ(ShortName(Repeat(eac3, 4)), "eac3");
  EXPECT_EQ(ShortName(ac3 + Zeros(200)), "none");
}

TEST(FormatIdentity, TransportStreamAtEachPitch) {
  for (const std::size_t pitch : {188U, 192U, 204U}) {
    EXPECT_EQ(ShortName(Repeat(TransportPacket(pitch), 30)), "mpegts") << pitch;
    EXPECT_EQ(ShortName(Repeat(TransportPacket(pitch), 3)), "mpegts") << pitch;
  }
  EXPECT_EQ(ShortName(Repeat(TransportPacket(188), 2)), "none");
  EXPECT_EQ(ShortName(Repeat(TransportPacket(188), 9) + std::string(4096, 'x')), "none");
}

TEST(FormatIdentity, ContentIsFoundBehindSeveralId3Tags) {
  EXPECT_EQ(ShortName(Id3(20) + Id3(5000) + "fLaC"), "flac");
  EXPECT_EQ(ShortName(Id3(300) + Repeat(Mp3Frame(), 4)), "mp3");
}

TEST(FormatIdentity, Id3FooterIsPartOfTheTag) {
  EXPECT_EQ(ShortName(Id3(4, '\x10') + "3DI\4\0\x10\0\0\0\4"s + "fLaC"), "flac");
}

TEST(FormatIdentity, PaddingOutsideOfTheTagIsSkippedBeforeFrames) {
  EXPECT_EQ(ShortName(Id3(10) + Zeros(9000) + Repeat(Mp3Frame(), 4)), "mp3");
  EXPECT_FALSE(Identify(Zeros(9000) + Repeat(Mp3Frame(), 4)));
  EXPECT_FALSE(Identify(Id3(10) + Zeros(70000) + Repeat(Mp3Frame(), 4)));
}

TEST(FormatIdentity, NoMoreThanSixteenTagsAreSkipped) {
  EXPECT_EQ(ShortName(Repeat(Id3(1), 16) + "fLaC"), "flac");
  EXPECT_EQ(ShortName(Repeat(Id3(1), 17) + "fLaC"), "none");
}

TEST(FormatIdentity, TagThatEndsBehindTheInputProvesNothing) {
  EXPECT_EQ(ShortName("ID3\4\0\0\x7f\x7f\x7f\x7f"s), "none");
}

TEST(FormatIdentity, SvgIsFoundBehindDeclarationsAndComments) {
  EXPECT_EQ(Identify("<svg xmlns='x'/>")->kind, ContentKind::kSvg);
  EXPECT_EQ(Identify("\xef\xbb\xbf\n<?xml version='1.0'?>\n<!-- a > b --><svg/>"s)->kind, ContentKind::kSvg);
  EXPECT_EQ(Identify("<!DOCTYPE svg PUBLIC 'a' 'b' [<!ENTITY c 'd'>]><svg/>")->kind, ContentKind::kSvg);
  EXPECT_FALSE(Identify("<svg"s.substr(0, 3)));
}

TEST(FormatIdentity, ShortMagicsNeedAPlausibleHeader) {
  EXPECT_EQ(ShortName("BM"s + Zeros(12) + Le(40, 4)), "bmp");
  EXPECT_EQ(ShortName("BM"s + Zeros(12) + Le(41, 4)), "none");
  const std::string icon = "\0\0\1\0\1\0"s + "\x10\x10\0\0\1\0\x20\0"s + Le(100, 4) + Le(22, 4);
  EXPECT_EQ(ShortName(icon), "ico");
  EXPECT_EQ(ShortName(icon.substr(0, 18) + Le(21, 4)), "none");
  EXPECT_EQ(ShortName("P5\n# made by hand\n2 2\n255\n"), "pnm");
  EXPECT_EQ(ShortName("P5 rules"), "none");
}

TEST(FormatIdentity, SvgMayBeInUtf16) {
  EXPECT_EQ(ShortName("\xff\xfe"s + Utf16("<?xml version='1.0'?><svg/>")), "svg");
  EXPECT_EQ(ShortName(Utf16("<svg/>")), "svg");
  EXPECT_EQ(ShortName("\xff\xfe"s + Utf16("words")), "none");
}

TEST(FormatIdentity, SvgRootMayHaveAnyPrefix) {
  EXPECT_EQ(ShortName("<s:svg xmlns:s='http://www.w3.org/2000/svg'/>"), "svg");
  EXPECT_EQ(ShortName("<svg:svg/>"), "svg");
  EXPECT_EQ(ShortName("<svgx/>"), "none");
  EXPECT_EQ(ShortName("<html><svg/></html>"), "none");
  EXPECT_EQ(ShortName("<?xml version='1.0'?><html><svg/></html>"), "xml");
}

TEST(FormatIdentity, SvgRootIsLookedForInTheFirst64KiB) {
  const std::string comment = "<!--" + std::string(60000, 'x') + "-->";
  EXPECT_EQ(ShortName(comment + "<svg/>"), "svg");
  EXPECT_EQ(ShortName(comment + comment + "<svg/>"), "none");
  EXPECT_EQ(ShortName("<!DOCTYPE svg>" + comment + comment + "<svg/>"), "svg");
  EXPECT_EQ(ShortName("<!DOCTYPE html>" + comment + comment + "<svg/>"), "none");
}

TEST(FormatIdentity, CompressedSvgIsLookedInto) {
  EXPECT_EQ(ShortName(GzipStored("<?xml version='1.0'?><svg/>")), "svg");
  EXPECT_EQ(ShortName(GzipStored("<!--" + std::string(60000, 'x') + "--><svg/>")), "svg");
  EXPECT_EQ(ShortName(GzipStored("<?xml version='1.0'?><note/>")), "gz");
  EXPECT_EQ(ShortName(GzipStored("words")), "gz");
  EXPECT_EQ(ShortName("\x1f\x8b\x08"s), "gz");
}

TEST(FormatIdentity, NetpbmNeedsItsHeader) {
  EXPECT_EQ(ShortName("P7\n# x\nDEPTH 1\n"), "pnm");
  EXPECT_EQ(ShortName("P7 332\n"), "none");
  EXPECT_EQ(ShortName("PF\n3 2\n-1.0\n"), "pnm");
  EXPECT_EQ(ShortName("Pf 3 2 1"), "pnm");
  EXPECT_EQ(ShortName("P6 # 1\n3 # 2\n2 255\n"), "pnm");
  EXPECT_EQ(ShortName("P8 3 2\n"), "none");
  EXPECT_EQ(ShortName("P3 3 musketeers"), "none");
  EXPECT_EQ(ShortName("PF # 1 2"), "none");
}

TEST(FormatIdentity, SgiAndPcxNeedPlausibleHeaders) {
  EXPECT_EQ(ShortName("\x01\xda\1\1\0\3\0\x25\0\x17\0\3"s), "sgi");
  EXPECT_EQ(ShortName("\x01\xda\2\1\0\3\0\x25\0\x17\0\3"s), "none");
  EXPECT_EQ(ShortName("\x01\xda\1\1\0\4\0\x25\0\x17\0\3"s), "none");
  const std::string pcx = "\x0a\5\1\x08"s                                // manufacturer, version, encoding, depth
                          + Le(0, 2) + Le(0, 2) + Le(36, 2) + Le(22, 2)  // window
                          + Zeros(4 + 48)                                // resolution, palette
                          + "\0\3"s;                                     // reserved, planes
  EXPECT_EQ(ShortName(pcx + Le(38, 2)), "pcx");
  EXPECT_EQ(ShortName(pcx + Le(36, 2)), "none");  // a line of 37 pixels does not fit
  EXPECT_EQ(ShortName("\x0a\5\0"s + (pcx + Le(38, 2)).substr(3)), "pcx");
  EXPECT_EQ(ShortName("\x0a\5\2"s + (pcx + Le(38, 2)).substr(3)), "none");
}

/// A true-colour TGA header of 3 by 2 pixels with `depth` bits each.
std::string Targa(char depth, char descriptor) {
  return "\0\0\2"s              // no identifier, no colour map, true colour
         + Zeros(5)             // colour map
         + Zeros(4)             // origin
         + Le(3, 2) + Le(2, 2)  // size
         + depth + descriptor;
}

TEST(FormatIdentity, TargaOfTheFirstVersionIsKnownByAHeaderThatHoldsNothingElse) {
  EXPECT_EQ(ShortName(Targa(24, 0x20) + Zeros(18)), "tga");
  EXPECT_EQ(ShortName(Targa(32, 8) + Zeros(24)), "tga");
  EXPECT_EQ(ShortName(Targa(24, 0) + "cut"), "tga");
  EXPECT_EQ(ShortName(Targa(24, 0)), "none");
  EXPECT_EQ(ShortName(Targa(23, 0) + Zeros(18)), "none");
  EXPECT_EQ(ShortName(Targa(24, 0x40) + Zeros(18)), "none");
  EXPECT_EQ(ShortName(Targa(24, 8) + Zeros(18)), "none");
  for (const std::size_t at : {1U, 3U, 5U, 7U}) {
    std::string changed = Targa(24, 0) + Zeros(18);
    changed[at] = 1;  // a colour map where there is none, or one that is not used
    EXPECT_EQ(ShortName(changed), "none") << at;
  }
  for (const std::size_t at : {12U, 14U}) {
    std::string changed = Targa(24, 0) + Zeros(18);
    changed[at] = 0;  // no width, no height
    EXPECT_EQ(ShortName(changed), "none") << at;
  }
}

TEST(FormatIdentity, TargaWithColorMapIsKnown) {
  const std::string header = "\1\1\x09"s                                    // identifier, colour map, run lengths
                             + Le(0, 2) + Le(256, 2) + "\x18"s              // colour map of 256 entries with 24 bits
                             + Zeros(4) + Le(3, 2) + Le(2, 2) + "\x08\0"s;  // origin, size, depth, descriptor
  EXPECT_EQ(ShortName(header + Zeros(1 + 768 + 1)), "tga");
  EXPECT_EQ(ShortName(header + Zeros(1 + 768)), "none");  // the picture lies behind the end
  std::string no_entries = header + Zeros(1 + 768 + 1);
  no_entries[6] = 0;
  EXPECT_EQ(ShortName(no_entries), "none");
}

TEST(FormatIdentity, RarePicturesAreStillImages) {
  for (const std::string& bytes :
       {"FORM\0\0\0\0ILBM"s, "FORM\0\0\0\0PBM "s, "\x8bJNG\r\n\x1a\n"s, "\x59\xa6\x6a\x95"s, "farbfeld"s, "SDPX"s,
        "gimp xcf file\0"s, "\xabKTX 11\xbb\r\n\x1a\n"s, "\xabKTX 20\xbb\r\n\x1a\n"s, "BPG\xfb"s, "II\xbc\x01"s,
        "#?RADIANCE\n"s, "#?RADIANCE\r\n"s, "DDS \x7c\0\0\0"s, "\0MRM"s, "II\x1a\0\0\0HEAPCCDR"s}) {
    const auto identity = Identify(bytes);
    ASSERT_TRUE(identity) << bytes;
    EXPECT_EQ(identity->kind, ContentKind::kStillImage) << identity->names.short_name;
  }
}

TEST(FormatIdentity, TargaIsKnownByItsFooter) {
  EXPECT_EQ(ShortName("\0\0\2"s + Zeros(40) + Zeros(8) + "TRUEVISION-XFILE.\0"s), "tga");
  EXPECT_EQ(ShortName("\0\0\2"s + Zeros(40) + Zeros(8) + "TRUEVISION-XFILE."s), "none");
}

TEST(FormatIdentity, SubRipNeedsANumberAndATimeLine) {
  EXPECT_EQ(ShortName("1\r\n00:00:01,000 --> 00:00:02,000\r\nHi\r\n"), "srt");
  EXPECT_EQ(ShortName("1\nnever --> ever\n"), "none");
}

TEST(FormatIdentity, EveryPrefixOfAFileIsReadWithinBounds) {
  const std::string whole = Id3(20) + "\x1a\x45\xdf\xa3\x8f\x42\x86\x81\x01\x42\x82\x88matroska"s;
  for (std::size_t size = 0; size < whole.size(); ++size) EXPECT_EQ(ShortName(whole.substr(0, size)), "none") << size;
  EXPECT_EQ(ShortName(whole), "mkv");
}

TEST(FormatIdentity, ReadsLittleOfALargeInput) {
  MemorySource source(std::string(1 << 20, 'x'));
  EXPECT_FALSE(IdentifyFormat(source));
  EXPECT_LT(source.BytesRead(), 10000U);
}

TEST(FormatNames, DemuxerListsAreSearchedForAKnownName) {
  EXPECT_EQ(NamesOfDemuxer("mov,mp4,m4a,3gp,3g2,mj2")->short_name, "mp4");
  EXPECT_EQ(NamesOfDemuxer("matroska,webm")->short_name, "mkv");
  EXPECT_EQ(NamesOfDemuxer("mpegts")->short_name, "mpegts");
  EXPECT_EQ(NamesOfDemuxer("flac")->short_name, "flac");
  EXPECT_EQ(NamesOfDemuxer("swf")->short_name, "swf");
  EXPECT_FALSE(NamesOfDemuxer("h264"));
  EXPECT_FALSE(NamesOfDemuxer(""));
}

}  // namespace
}  // namespace media_server
