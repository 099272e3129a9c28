// SPDX-License-Identifier: MIT
#include "cli/metadata/Tags.h"

#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/infotag.h>
#include <taglib/mpegfile.h>
#include <taglib/tbytevectorstream.h>
#include <taglib/tfilestream.h>
#include <taglib/xiphcomment.h>

#include <algorithm>
#include <cctype>
#include <iterator>

#include "cli/text/Failure.h"

namespace {

using TagLib::PropertyMap;
using TagLib::String;

// The names of one tag: TagLib's, INFO's, and libsndfile's constant if it has one.
struct Name {
  const char* property;
  const char* info;
  int string = 0;
};
constexpr Name kNames[] = {
    {"TITLE", "INAM", SF_STR_TITLE},
    {"ARTIST", "IART", SF_STR_ARTIST},
    {"ALBUM", "IPRD", SF_STR_ALBUM},
    {"COMMENT", "ICMT", SF_STR_COMMENT},
    {"DATE", "ICRD", SF_STR_DATE},
    {"GENRE", "IGNR", SF_STR_GENRE},
    {"COPYRIGHT", "ICOP", SF_STR_COPYRIGHT},
    {"TRACKNUMBER", "IPRT", SF_STR_TRACKNUMBER},
    {"LICENSE", "", SF_STR_LICENSE},
    {"ENGINEER", "IENG"},
    {"TECHNICIAN", "ITCH"},
    {"KEYWORDS", "IKEY"},
    {"SOURCE", "ISRC"},
    {"SUBJECT", "ISBJ"},
};
constexpr std::size_t kMostStringBytes = 1000;  // of each text that libsndfile writes, because all share a small buffer

// A file by the name that tells TagLib its format.
template <class Stream>
class Named : public Stream {
 public:
  template <class Source>
  Named(const Source& source, const char* name) : Stream(source), name_(name) {}
  TagLib::FileName name() const override { return name_; }

 private:
  const char* name_;
};

// Empty for formats without tags of their own.
const char* nameOf(int format) {
  switch (format & SF_FORMAT_TYPEMASK) {
    case SF_FORMAT_FLAC: return "x.flac";
    case SF_FORMAT_MPEG: return "x.mp3";
    case SF_FORMAT_OGG: return (format & SF_FORMAT_SUBMASK) == SF_FORMAT_OPUS ? "x.opus" : "x.ogg";
    default: return "";
  }
}

// Empty for tags that INFO does not know.
std::string infoIdOf(const String& property) {
  const std::string key = property.to8Bit(true);
  const auto* const known =
      std::find_if(std::begin(kNames), std::end(kNames), [&key](const Name& one) { return key == one.property; });
  if (known != std::end(kNames)) return known->info;
  return key.size() == 4 && key[0] == 'I' ? key : "";
}

bool isNotOurs(const String& name) {
  static const std::set<std::string> made = {"ENCODER", "ENCODER_OPTIONS", "ENCODING", "SOFTWARE", "ISFT", "LENGTH"};
  const std::string key = name.to8Bit(true);
  return made.count(key) != 0 || key.rfind("REPLAYGAIN_", 0) == 0 || key.rfind("R128_", 0) == 0;
}

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

using Pictures = std::vector<std::shared_ptr<TagLib::FLAC::Picture>>;

void addPictures(const TagLib::List<TagLib::FLAC::Picture*>& list, Pictures& pictures) {
  for (const TagLib::FLAC::Picture* const one : list) {
    pictures.push_back(std::make_shared<TagLib::FLAC::Picture>(one->render()));
  }
}

void addPictures(const TagLib::ID3v2::Tag& tag, Pictures& pictures) {
  for (const TagLib::ID3v2::Frame* const frame : tag.frameList("APIC")) {
    const auto* const one = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame*>(frame);
    if (one == nullptr) continue;
    auto& picture = pictures.emplace_back(std::make_shared<TagLib::FLAC::Picture>());
    picture->setType(static_cast<TagLib::FLAC::Picture::Type>(one->type()));
    picture->setMimeType(one->mimeType());
    picture->setDescription(one->description());
    picture->setData(one->picture());
  }
}

void putInto(TagLib::ID3v2::Tag& tag, const Pictures& pictures) {
  for (const auto& picture : pictures) {
    auto* const frame = new TagLib::ID3v2::AttachedPictureFrame();  // owned by the tag
    frame->setTextEncoding(String::UTF8);
    frame->setType(static_cast<TagLib::ID3v2::AttachedPictureFrame::Type>(picture->type()));
    frame->setMimeType(picture->mimeType());
    frame->setDescription(picture->description());
    frame->setPicture(picture->data());
    tag.addFrame(frame);
  }
}

// The names of the FLAC blocks that TagLib skips, by the format's number (RFC 9639, 8.1).
std::set<std::string> otherBlocks(TagLib::File& file) {
  std::set<std::string> names;
  auto at = file.find("fLaC") + 4;
  for (unsigned type = 0; (type & 0x80U) == 0 && at + 4 <= file.length();) {
    file.seek(at);
    const TagLib::ByteVector head = file.readBlock(4);
    if (head.size() < 4) break;
    type = static_cast<unsigned char>(head[0]);
    if ((type & 0x7FU) == 2) names.insert("application data");
    if ((type & 0x7FU) == 5) names.insert("cue sheet");
    at += 4 + static_cast<int>(head.toUInt(1U, 3U));
  }
  return names;
}

}  // namespace

std::size_t Tags::size() const {
  std::size_t size = 0;
  for (const auto& [name, values] : properties_)
    size += 2 * (std::size_t{name.size()} + 32 + std::size_t{4} * values.toString().size());
  for (const auto& picture : pictures_) size += picture->data().size() + 1024;
  return size;
}

std::set<std::string> Tags::names() const {
  std::set<std::string> names = others_;
  for (const auto& [name, values] : properties_) names.insert(lowerCase(name.to8Bit(true)));
  if (!pictures_.empty()) names.insert("cover picture");
  return names;
}

void Tags::add(const PropertyMap& properties) {
  for (const auto& [name, values] : properties) {
    if (!isNotOurs(name) && !values.isEmpty()) properties_.replace(name, values);
  }
  for (const String& name : properties.unsupportedData()) {
    if (name != "APIC") others_.insert(name.to8Bit(true));
  }
}

void Tags::readFile(const std::string& path, int format) {
  const char* const name = nameOf(format);
  if (*name == '\0') return;
  Named<TagLib::FileStream> stream(path.c_str(), name);
  const TagLib::FileRef reference(&stream, false);
  if (reference.isNull()) return;
  add(reference.file()->properties());
  if (auto* const flac = dynamic_cast<TagLib::FLAC::File*>(reference.file())) {
    addPictures(flac->pictureList(), pictures_);
    others_.merge(otherBlocks(*flac));
  } else if (auto* const mpeg = dynamic_cast<TagLib::MPEG::File*>(reference.file())) {
    if (mpeg->hasID3v2Tag()) addPictures(*mpeg->ID3v2Tag(), pictures_);
  } else if (auto* const xiph = dynamic_cast<TagLib::Ogg::XiphComment*>(reference.file()->tag())) {
    addPictures(xiph->pictureList(), pictures_);
  }
}

// Reads it as an MP3 file that consists only of its tag.
void Tags::readId3(const std::string& chunk) {
  Named<TagLib::ByteVectorStream> stream(TagLib::ByteVector(chunk.data(), static_cast<unsigned>(chunk.size())),
                                         "x.mp3");
  const TagLib::FileRef reference(&stream, false);
  auto* const file = dynamic_cast<TagLib::MPEG::File*>(reference.file());
  if (file == nullptr || !file->hasID3v2Tag()) return;
  add(file->ID3v2Tag()->properties());
  addPictures(*file->ID3v2Tag(), pictures_);
}

void Tags::readInfo(const std::string& chunk) {
  const TagLib::RIFF::Info::Tag tag(TagLib::ByteVector(chunk.data(), static_cast<unsigned>(chunk.size())));
  PropertyMap properties;
  for (const auto& [id, text] : tag.fieldListMap()) {
    const auto* const known = std::find_if(std::begin(kNames), std::end(kNames),
                                           [&wanted = id](const Name& one) { return wanted == one.info; });
    properties.replace(known != std::end(kNames) ? String(known->property) : String(id), text);
  }
  add(properties);
}

void Tags::readStrings(SNDFILE* file) {
  PropertyMap properties;
  for (const Name& name : kNames) {
    const char* const text = name.string != 0 ? sf_get_string(file, name.string) : nullptr;
    if (text != nullptr && *text != '\0') properties.replace(name.property, String(text, String::UTF8));
  }
  add(properties);
}

std::string Tags::take(const char* name) {
  std::string text = properties_.contains(name) ? properties_[name].toString().to8Bit(true) : "";
  properties_.erase(name);
  return text;
}

void Tags::writeFile(const std::string& path, int format) const {
  const char* const name = nameOf(format);
  if (*name == '\0' || (properties_.isEmpty() && pictures_.empty())) return;
  Named<TagLib::FileStream> stream(path.c_str(), name);
  const TagLib::FileRef reference(&stream, false);
  if (reference.isNull() || stream.readOnly()) throw Failure("its tags cannot be added");
  TagLib::File& file = *reference.file();
  file.setProperties(properties_);
  if (auto* const flac = dynamic_cast<TagLib::FLAC::File*>(&file)) {
    for (const auto& picture : pictures_) flac->addPicture(new TagLib::FLAC::Picture(picture->render()));
  } else if (auto* const mpeg = dynamic_cast<TagLib::MPEG::File*>(&file)) {
    putInto(*mpeg->ID3v2Tag(true), pictures_);
  } else if (auto* const xiph = dynamic_cast<TagLib::Ogg::XiphComment*>(file.tag())) {
    for (const auto& picture : pictures_) xiph->addPicture(new TagLib::FLAC::Picture(picture->render()));
  }
  if (!file.save()) throw Failure("its tags cannot be added");
}

std::string Tags::id3() const {
  TagLib::ID3v2::Tag tag;
  tag.setProperties(properties_);
  putInto(tag, pictures_);
  if (tag.isEmpty()) return "";
  const TagLib::ByteVector bytes = tag.render();
  return {bytes.data(), bytes.size()};
}

std::string Tags::info() const {
  TagLib::RIFF::Info::Tag tag;
  for (const auto& [property, values] : properties_) {
    if (const std::string id = infoIdOf(property); !id.empty()) tag.setFieldText(id.c_str(), values.toString(" / "));
  }
  if (tag.fieldListMap().isEmpty()) return "";
  const TagLib::ByteVector bytes = tag.render();
  return {bytes.data(), bytes.size()};
}

bool Tags::fitInfo() const {
  return pictures_.empty() && std::all_of(properties_.begin(), properties_.end(), [](const auto& property) {
           return property.second.size() == 1 && !infoIdOf(property.first).empty();
         });
}

void Tags::writeStrings(SNDFILE* file) const {
  for (const Name& name : kNames) {
    if (name.string == 0 || !properties_.contains(name.property)) continue;
    const std::string text = properties_[name.property].toString().to8Bit(true);
    if (text.size() <= kMostStringBytes) sf_set_string(file, name.string, text.c_str());
  }
}
