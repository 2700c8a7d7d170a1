#include <exception>

#include "OrvPlatform/AudioUnit.h"
#include "OrvPlatform/Log.h"
#include "audiounit/AudioUnitGraph.h"

namespace {

/// A host's own service may throw; the caller gets a status and the log one line.
template <class Call>
OSStatus guarded(const char* name, bool isValid, Call call) {
  if (!isValid) {
    return kAudioUnitErr_InvalidParameter;
  }
  try {
    return call();
  } catch (const std::exception& error) {
    orv::logf("%s: %s", name, error.what());
  } catch (...) {
    orv::logf("%s: failed", name);
  }
  return kAudioUnitErr_OperationNotSupported;
}

bool fits(const ComponentDescription& component, const ComponentDescription& wanted) {
  const auto isWanted = [](FourCharCode code, FourCharCode pattern) { return pattern == 0 || code == pattern; };
  return isWanted(component.componentType, wanted.componentType) &&
         isWanted(component.componentSubType, wanted.componentSubType) &&
         isWanted(component.componentManufacturer, wanted.componentManufacturer);
}

}  // namespace

Component FindNextComponent(Component previous, const ComponentDescription* description) {
  Component found = 0;
  guarded("FindNextComponent", description != nullptr, [&] {
    const std::vector<ComponentDescription> components = orv::audioUnitService()->components();
    for (std::size_t i = previous; i < components.size() && found == 0; ++i) {
      found = fits(components[i], *description) ? i + 1 : 0;
    }
    return noErr;
  });
  return found;
}

OSStatus OpenAComponent(Component component, AudioUnit* unit) {
  return guarded("OpenAComponent", unit != nullptr, [&] {
    *unit = nullptr;
    std::unique_ptr<orv::RenderUnit> made;
    const OSStatus status =
        component == 0 ? kAudioUnitErr_ComponentNotFound : orv::audioUnitService()->make(component - 1, &made);
    *unit = made.release();
    return status;
  });
}

OSStatus CloseComponent(AudioUnit unit) {
  return guarded("CloseComponent", unit != nullptr, [&] {
    delete unit;
    return noErr;
  });
}

OSStatus AudioUnitInitialize(AudioUnit unit) {
  return guarded("AudioUnitInitialize", unit != nullptr, [&] { return unit->initialize(); });
}

OSStatus AudioUnitUninitialize(AudioUnit unit) {
  return guarded("AudioUnitUninitialize", unit != nullptr, [&] { return unit->uninitialize(); });
}

OSStatus AudioUnitGetProperty(AudioUnit unit, AudioUnitPropertyID property, AudioUnitScope scope,
                              AudioUnitElement element, void* data, std::uint32_t* size) {
  return guarded("AudioUnitGetProperty", unit != nullptr && size != nullptr,
                 [&] { return unit->property(property, scope, element, data, size); });
}

OSStatus AudioUnitSetProperty(AudioUnit unit, AudioUnitPropertyID property, AudioUnitScope scope,
                              AudioUnitElement element, const void* data, std::uint32_t size) {
  return guarded("AudioUnitSetProperty", unit != nullptr,
                 [&] { return unit->setProperty(property, scope, element, data, size); });
}

OSStatus AudioUnitRender(AudioUnit unit, AudioUnitRenderActionFlags* flags, const AudioTimeStamp* timeStamp,
                         std::uint32_t bus, std::uint32_t frames, AudioBufferList* data) {
  return guarded("AudioUnitRender", unit != nullptr && timeStamp != nullptr, [&] {
    AudioUnitRenderActionFlags none = 0;
    return unit->render(flags != nullptr ? flags : &none, *timeStamp, bus, frames, data);
  });
}

OSStatus NewAUGraph(AUGraph* graph) {
  return guarded("NewAUGraph", graph != nullptr, [&] {
    *graph = nullptr;
    *graph = new orv::AudioUnitGraph;
    return noErr;
  });
}

OSStatus AUGraphOpen(AUGraph graph) {
  return guarded("AUGraphOpen", graph != nullptr, [&] { return graph->open(); });
}

OSStatus AUGraphNewNode(AUGraph graph, const ComponentDescription* description, AUNode* node) {
  return guarded("AUGraphNewNode", graph != nullptr && description != nullptr && node != nullptr,
                 [&] { return graph->newNode(*description, node); });
}

OSStatus AUGraphGetNodeInfo(AUGraph graph, AUNode node, ComponentDescription* description, AudioUnit* unit) {
  return guarded("AUGraphGetNodeInfo", graph != nullptr, [&] { return graph->nodeInfo(node, description, unit); });
}

OSStatus AUGraphConnectNodeInput(AUGraph graph, AUNode source, std::uint32_t output, AUNode destination,
                                 std::uint32_t input) {
  return guarded("AUGraphConnectNodeInput", graph != nullptr,
                 [&] { return graph->connect(source, output, destination, input); });
}

OSStatus AUGraphUpdate(AUGraph graph) {
  return guarded("AUGraphUpdate", graph != nullptr, [&] { return graph->update(); });
}

OSStatus AUGraphInitialize(AUGraph graph) {
  return guarded("AUGraphInitialize", graph != nullptr, [&] { return graph->initialize(); });
}

OSStatus AUGraphUninitialize(AUGraph graph) {
  return guarded("AUGraphUninitialize", graph != nullptr, [&] { return graph->uninitialize(); });
}

OSStatus AUGraphStart(AUGraph graph) {
  return guarded("AUGraphStart", graph != nullptr, [&] { return graph->start(); });
}

OSStatus AUGraphStop(AUGraph graph) {
  return guarded("AUGraphStop", graph != nullptr, [&] { return graph->stop(); });
}

OSStatus AUGraphIsRunning(AUGraph graph, bool* isRunning) {
  return guarded("AUGraphIsRunning", graph != nullptr && isRunning != nullptr, [&] {
    *isRunning = graph->isRunning();
    return noErr;
  });
}

OSStatus AUGraphClose(AUGraph graph) {
  return guarded("AUGraphClose", graph != nullptr, [&] { return graph->close(); });
}

OSStatus DisposeAUGraph(AUGraph graph) {
  return guarded("DisposeAUGraph", graph != nullptr, [&] {
    delete graph;
    return noErr;
  });
}
