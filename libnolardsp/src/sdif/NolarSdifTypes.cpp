#include "NolarSdifTypes.h"

#include <cctype>
#include <cstring>

namespace nolardsp {

SdifSignature SdifStringToSignature(char const* text) {
  char c[4] = {0, 0, 0, 0};
  if (text != nullptr) {
    for (int i = 0; i < 4 && text[i] != '\0'; ++i) c[i] = text[i];
  }
  return SdifSignatureConst(c[0], c[1], c[2], c[3]);
}

char* SdifSignatureToString(SdifSignature signature) {
  static char buffers[8][5];
  static unsigned int next = 0;
  char* s = buffers[next];
  next = (next + 1) % 8;
  s[0] = static_cast<char>((signature >> 24) & 0xFF);
  s[1] = static_cast<char>((signature >> 16) & 0xFF);
  s[2] = static_cast<char>((signature >> 8) & 0xFF);
  s[3] = static_cast<char>(signature & 0xFF);
  s[4] = '\0';
  return s;
}

bool SdifDataTypeKnown(std::uint32_t dataType) {
  switch (dataType) {
    case eFloat4:
    case eFloat8:
    case eInt1:
    case eInt2:
    case eInt4:
    case eUInt1:
    case eUInt2:
    case eUInt4:
    case eText:
      return true;
    default:
      return false;
  }
}

bool SdifFrameTypeT::HasComponent(SdifSignature matrix) const {
  for (SdifFrameComponentT const& c : components) {
    if (c.matrixSignature == matrix) return true;
  }
  return false;
}

SdifMatrixTypeT const* SdifTypeTables::FindMatrixType(SdifSignature signature) const {
  auto const it = matrixTypes.find(signature);
  return it == matrixTypes.end() ? nullptr : &it->second;
}

SdifFrameTypeT const* SdifTypeTables::FindFrameType(SdifSignature signature) const {
  auto const it = frameTypes.find(signature);
  return it == frameTypes.end() ? nullptr : &it->second;
}

void SdifTypeTables::AddMatrixType(SdifMatrixTypeT const& type) {
  auto const it = matrixTypes.find(type.signature);
  if (it == matrixTypes.end()) {
    matrixTypes.emplace(type.signature, type);
    return;
  }
  std::vector<std::string>& columns = it->second.columnNames;
  for (std::size_t i = columns.size(); i < type.columnNames.size(); ++i) {
    columns.push_back(type.columnNames[i]);
  }
}

void SdifTypeTables::AddFrameType(SdifFrameTypeT const& type) {
  auto const it = frameTypes.find(type.signature);
  if (it == frameTypes.end()) {
    frameTypes.emplace(type.signature, type);
    return;
  }
  for (SdifFrameComponentT const& c : type.components) {
    if (!it->second.HasComponent(c.matrixSignature)) it->second.components.push_back(c);
  }
}

namespace {

// A small tokenizer over the text of a "1TYP" chunk: words, and the single
// characters { } , ; as tokens of their own. Zero bytes count as white space,
// so that a text padded with them parses.
class TypeTextScanner {
 public:
  explicit TypeTextScanner(std::string const& t) : text(t) {}

  bool AtEnd() {
    skipSpace();
    return pos >= text.size();
  }
  std::string Next() {
    skipSpace();
    if (pos >= text.size()) return std::string();
    char const c = text[pos];
    if (isPunct(c)) {
      ++pos;
      return std::string(1, c);
    }
    std::size_t const start = pos;
    while (pos < text.size() && !isSpace(text[pos]) && !isPunct(text[pos])) ++pos;
    return text.substr(start, pos - start);
  }

 private:
  static bool isSpace(char c) { return c == '\0' || std::isspace(static_cast<unsigned char>(c)); }
  static bool isPunct(char c) { return c == '{' || c == '}' || c == ',' || c == ';'; }
  void skipSpace() {
    while (pos < text.size() && isSpace(text[pos])) ++pos;
  }

  std::string const& text;
  std::size_t pos = 0;
};

bool isSignatureText(std::string const& s) {
  return s.size() == 4;
}

}  // namespace

std::string SdifTypeTables::Parse(std::string const& text) {
  TypeTextScanner scan(text);
  while (!scan.AtEnd()) {
    std::string const keyword = scan.Next();
    if (keyword != "1MTD" && keyword != "1FTD") {
      return "unknown type statement '" + keyword + "'";
    }
    std::string const name = scan.Next();
    if (!isSignatureText(name)) return "bad signature: '" + name + "'";
    if (scan.Next() != "{") return keyword + " " + name + ": '{' expected";
    if (keyword == "1MTD") {
      SdifMatrixTypeT type;
      type.signature = SdifStringToSignature(name.c_str());
      std::string token = scan.Next();
      while (token != "}") {
        if (token.empty() || token == "{" || token == "," || token == ";") {
          return "1MTD " + name + ": column name expected";
        }
        type.columnNames.push_back(token);
        token = scan.Next();
        if (token == ",") {
          token = scan.Next();
        } else if (token != "}") {
          return "1MTD " + name + ": ',' or '}' expected";
        }
      }
      AddMatrixType(type);
    } else {
      SdifFrameTypeT type;
      type.signature = SdifStringToSignature(name.c_str());
      std::string token = scan.Next();
      while (token != "}") {
        if (!isSignatureText(token) || token == "{" || token == ";") {
          return "bad signature: '" + token + "' in 1FTD " + name;
        }
        SdifFrameComponentT component;
        component.matrixSignature = SdifStringToSignature(token.c_str());
        component.name = scan.Next();
        if (component.name.empty() || component.name == "{" || component.name == "}" ||
            component.name == "," || component.name == ";") {
          return "1FTD " + name + ": component name expected";
        }
        if (scan.Next() != ";") return "1FTD " + name + ": ';' expected";
        if (!type.HasComponent(component.matrixSignature)) type.components.push_back(component);
        token = scan.Next();
      }
      AddFrameType(type);
    }
  }
  return std::string();
}

namespace {

// The types every file knows. Files declare only what is particular to them.
char const* const predefinedTypesText = R"(
1MTD 1ARA {RawAutocorrelation}
1MTD 1ARK {ReflectionCoefficient}
1MTD 1ARR {Coefficient}
1MTD 1BEG {Id}
1MTD 1BND {LowerFrequencyLimit, UpperFrequencyLimit}
1MTD 1CEC {CepstralCoefficient}
1MTD 1CHA {Channel1, Channel2, Channel3, Channel4}
1MTD 1DIS {Distribution, Amplitude}
1MTD 1END {Id}
1MTD 1ENV {Magnitude}
1MTD 1FOF {Frequency, Amplitude, Bandwidth, Tex, DebAtt, Atten, Phase}
1MTD 1FQ0 {Frequency, Mode, Hit}
1MTD 1GAI {Gain}
1MTD 1HRE {Index, Frequency, Amplitude, Phase}
1MTD 1HRM {Index, Frequency, Amplitude, Phase}
1MTD 1IDS {Text}
1MTD 1LAB {Label}
1MTD 1MID {Status, Data1, Data2}
1MTD 1NRG {Energy}
1MTD 1NVT {Text}
1MTD 1PEM {Index, Frequency, Amplitude, Phase}
1MTD 1PIC {Frequency, Amplitude, Phase, Confidence}
1MTD 1RES {Frequency, Amplitude, Bandwidth, Saliance, Correction}
1MTD 1SEG {Confidence}
1MTD 1STF {Magnitude, Phase}
1MTD 1SYX {Data}
1MTD 1TDS {Sample}
1MTD 1TRC {Index, Frequency, Amplitude, Phase}
1MTD 1TYP {Text}
1MTD 1VUF {CutoffFrequency}
1MTD 1VUN {Voicing}
1MTD 1WIN {Type, Size}
1MTD 2RES {Frequency, Amplitude, DecayRate, Phase}
1MTD EMJR {Id, Data}
1MTD EMPM {Id, Data}
1MTD IENV {Frequency}
1MTD INRG {Scale, NormalisationFactor}
1MTD ISTF {DFTPeriod, WindowDuration, FFTSize}
1MTD ITDS {SamplingRate}
1MTD ITFC {Index, Frequency}
1MTD ITMI {Id}
1MTD ITMR {Id}
1MTD IWIN {WindowIdentifier, WindowSize}
1FTD 1ARA {1ARA RawAutocorrelation;}
1FTD 1ARK {1ARK ReflectionCoefficients; 1GAI Gain;}
1FTD 1ARR {1ARR Coefficients; 1GAI Gain;}
1FTD 1BND {1BND BandLimits;}
1FTD 1CEC {1CEC CepstralCoefficients;}
1FTD 1ENV {1ENV Envelope; IENV EnvelopeInfo;}
1FTD 1FOB {1FQ0 PitchModel; 1FOF Formants; 1CHA FormantChannels;}
1FTD 1FQ0 {1FQ0 FundamentalFrequency;}
1FTD 1GAI {1GAI Gain;}
1FTD 1HRE {1HRE Partials;}
1FTD 1HRM {1HRM Partials;}
1FTD 1IDS {1IDS Text;}
1FTD 1MID {1MID MidiEvent; 1SYX SysexData;}
1FTD 1MRK {1BEG Begin; 1END End; 1LAB Label; 1SEG Segment;}
1FTD 1NOI {1DIS Distribution;}
1FTD 1NRG {1NRG Energy; INRG EnergyInfo;}
1FTD 1NVT {1NVT Text;}
1FTD 1PIC {1PIC Peaks;}
1FTD 1REB {1RES Resonances; 2RES Resonances2;}
1FTD 1SEG {1SEG Segment;}
1FTD 1STF {1STF Spectrum; ISTF SpectrumInfo; 1WIN Window; IWIN WindowInfo;}
1FTD 1TRC {1TRC Partials;}
1FTD 1TYP {1TYP Text;}
1FTD 1VUV {1VUN Voicing; 1VUF CutoffFrequency;}
1FTD 1WIN {1WIN Window; IWIN WindowInfo;}
1FTD EFPM {EMPM Data; EMJR Marks;}
1FTD ISTF {ISTF SpectrumInfo;}
)";

}  // namespace

SdifTypeTables const& SdifTypeTables::Predefined() {
  static SdifTypeTables const tables = [] {
    SdifTypeTables t;
    t.Parse(predefinedTypesText);
    return t;
  }();
  return tables;
}

}  // namespace nolardsp
