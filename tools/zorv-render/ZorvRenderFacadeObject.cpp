#include "ZorvRenderFacadeObject.h"

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
