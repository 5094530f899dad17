#include "ZorvRenderFacadeObject.h"

#include <cstdlib>
#include <vector>

#include "ZorvHost.h"

namespace zorvrender {
namespace {

ConsoleSeverity toSeverity(zorvhost::Severity severity) {
  switch (severity) {
    case zorvhost::Severity::Warning:
      return ConsoleSeverity::Warning;
    case zorvhost::Severity::Error:
      return ConsoleSeverity::Error;
    case zorvhost::Severity::Bug:
      return ConsoleSeverity::Bug;
    case zorvhost::Severity::Post:
      break;
  }
  return ConsoleSeverity::Post;
}

class FacadeObject final : public RenderObject {
 public:
  explicit FacadeObject(std::unique_ptr<zorvhost::PanObject> object) : object(std::move(object)) {}

  unsigned int NumInlets() const override { return object->NumInlets(); }
  unsigned int NumOutlets() const override { return object->NumOutlets(); }
  void SendMessage(std::string const& text) override { object->SendMessage(text); }
  void SetInletConnected(unsigned int inlet, bool connected) override {
    object->SetInletConnected(inlet, connected);
  }
  void StartDsp(double samplerate, unsigned int blockSize) override {
    object->StartDsp(samplerate, blockSize);
  }
  void ProcessBlock(float const* const* inputs, float* const* outputs,
                    unsigned int numSamples) override {
    object->ProcessBlock(inputs, outputs, numSamples);
  }
  long long SettleFrames(double samplerate) const override {
    std::vector<std::string> const value = object->GetAttribute("interpolationtime");
    float const milliseconds = value.empty() ? 0.f : std::strtof(value[0].c_str(), nullptr);
    // The period in samples as the panners count it, in float.
    float const period = (0.001f * static_cast<float>(samplerate)) * milliseconds;
    if (!(period >= 1.f) || period > 1.0e9f) {
      return 0;
    }
    return 2 * static_cast<long long>(period);
  }

 private:
  std::unique_ptr<zorvhost::PanObject> object;
};

}  // namespace

std::unique_ptr<RenderObject> MakeFacadeObject(std::string const& boxText,
                                               ConsoleFunction console) {
  auto sink = [console](zorvhost::Severity severity, std::string const& text) {
    if (console) {
      console(toSeverity(severity), text);
    }
  };
  auto object = zorvhost::PanObject::Create(boxText, sink);
  if (!object) {
    return nullptr;
  }
  return std::make_unique<FacadeObject>(std::move(object));
}

}  // namespace zorvrender
