#include "support/fake_jvm/fake_jvm.h"

#include <algorithm>

namespace fakejvm {

namespace {

constexpr char kPendingCheck[] = "ExceptionOccurred()";

}  // namespace

Jvm& Jvm::get() {
  static Jvm& instance = *new Jvm;  // outlives every thread that was attached
  return instance;
}

void Jvm::reset() {
  std::lock_guard lock(mutex_);
  isRecording = true;
  createResult = JNI_OK;
  isCreatedOnce = false;
  isCreated_ = false;
  attachResult = JNI_OK;
  detachResult = JNI_OK;
  registerResult = JNI_OK;
  missingClasses.clear();
  missingMethods.clear();
  nullResults.clear();
  raising.clear();
  server = instance("com/qrv/norvel/monitoring/toolkit/workbench/ipc/msg/jni/JniServer");
  onCreate = nullptr;
  onProcessInbound = nullptr;
  calls_.clear();
  faults_.clear();
  for (Reference& reference : references_) {
    reference.isLive = false;
    reference.object = nullptr;
  }
  natives_.clear();
  args_.reset();
  options_.clear();
  buffers_.clear();
  pending_.clear();
  locals_.clear();
}

void Jvm::endLocalFrame() {
  std::lock_guard lock(mutex_);
  const auto self = std::this_thread::get_id();
  for (Reference& reference : references_) {
    if (reference.isLive && !reference.isGlobal && reference.owner == self) {
      drop(reinterpret_cast<jobject>(&reference), false);
    }
  }
  while (!references_.empty() && !references_.back().isLive) {
    references_.pop_back();
  }
}

std::vector<std::string> Jvm::calls() const {
  std::vector<std::string> found = callsWithChecks();
  found.erase(std::remove(found.begin(), found.end(), kPendingCheck), found.end());
  return found;
}

std::vector<std::string> Jvm::callsWithChecks() const {
  std::lock_guard lock(mutex_);
  return calls_;
}

std::vector<std::string> Jvm::callsOf(const std::string& prefix) const {
  std::vector<std::string> found;
  for (const std::string& call : calls()) {
    if (call.rfind(prefix, 0) == 0) {
      found.push_back(call);
    }
  }
  return found;
}

std::vector<std::string> Jvm::faults() const {
  std::lock_guard lock(mutex_);
  return faults_;
}

std::size_t Jvm::localReferences() const {
  std::lock_guard lock(mutex_);
  const auto found = locals_.find(std::this_thread::get_id());
  return found == locals_.end() ? 0 : found->second.live;
}

std::size_t Jvm::peakLocalReferences() const {
  std::lock_guard lock(mutex_);
  const auto found = locals_.find(std::this_thread::get_id());
  return found == locals_.end() ? 0 : found->second.peak;
}

std::size_t Jvm::globalReferences() const {
  std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::count_if(
      references_.begin(), references_.end(),
      [](const Reference& reference) { return reference.isLive && reference.isGlobal; }));
}

std::size_t Jvm::heldBuffers() const {
  std::lock_guard lock(mutex_);
  return buffers_.size();
}

const Native* Jvm::native(const std::string& name) const {
  std::lock_guard lock(mutex_);
  const auto found = std::find_if(natives_.begin(), natives_.end(),
                                  [&](const Native& native) { return native.name == name; });
  return found == natives_.end() ? nullptr : &*found;
}

std::optional<JavaVMInitArgs> Jvm::args() const {
  std::lock_guard lock(mutex_);
  return args_;
}

std::vector<std::string> Jvm::options() const {
  std::lock_guard lock(mutex_);
  std::vector<std::string> texts;
  for (const auto& [text, extra] : options_) {
    texts.push_back(text);
  }
  return texts;
}

void* Jvm::extraInfo(const std::string& option) const {
  std::lock_guard lock(mutex_);
  const auto found = std::find_if(options_.begin(), options_.end(),
                                  [&](const auto& entry) { return entry.first == option; });
  return found == options_.end() ? nullptr : found->second;
}

JNIEnv* Jvm::env() {
  static thread_local JNIEnv threadEnv{functions()};
  return &threadEnv;
}

jobject Jvm::local(const ObjectPtr& object) { return reference(object, false); }

ObjectPtr Jvm::resolve(jobject reference) {
  if (reference == nullptr) {
    return nullptr;
  }
  std::lock_guard lock(mutex_);
  const auto* entry = reinterpret_cast<const Reference*>(reference);
  if (!entry->isLive) {
    fault("a dead reference was used");
  } else if (!entry->isGlobal && entry->owner != std::this_thread::get_id()) {
    fault("a local reference of another thread was used");
  }
  return entry->object;
}

void Jvm::raise(const std::string& className, const std::string& message) {
  std::lock_guard lock(mutex_);
  pending_[std::this_thread::get_id()] =
      className.empty() ? nullptr : throwable(className, message);
}

ObjectPtr Jvm::pending() {
  std::lock_guard lock(mutex_);
  return pending_[std::this_thread::get_id()];
}

void Jvm::record(const std::string& text) {
  if (!isRecording) {
    return;
  }
  std::lock_guard lock(mutex_);
  calls_.push_back(text);
}

void Jvm::fault(const std::string& text) {
  std::lock_guard lock(mutex_);
  faults_.push_back(text);
}

void Jvm::enter(JNIEnv* used, const std::string& operation, bool mayBePending) {
  if (used != env()) {
    fault(operation + " with the environment of another thread");
  }
  if (!mayBePending && pending() != nullptr) {
    fault(operation + " with an exception pending");
  }
}

bool Jvm::isRaising(const std::string& operation) {
  std::lock_guard lock(mutex_);
  const auto found = raising.find(operation);
  if (found == raising.end() || found->second.after-- > 0) {
    return false;
  }
  raise(found->second.className, found->second.message);
  raising.erase(found);
  return true;
}

bool Jvm::givesNull(const std::string& operation) const {
  std::lock_guard lock(mutex_);
  return nullResults.count(operation) != 0;
}

jobject Jvm::reference(const ObjectPtr& object, bool isGlobal) {
  if (object == nullptr) {
    return nullptr;
  }
  std::lock_guard lock(mutex_);
  references_.push_back({object, isGlobal, true, std::this_thread::get_id()});
  if (!isGlobal) {
    LocalCount& count = locals_[std::this_thread::get_id()];
    count.peak = std::max(count.peak, ++count.live);
  }
  return reinterpret_cast<jobject>(&references_.back());
}

void Jvm::drop(jobject reference, bool isGlobal) {
  std::lock_guard lock(mutex_);
  auto* entry = reinterpret_cast<Reference*>(reference);
  if (entry->isGlobal != isGlobal) {
    fault("a reference of the other kind was deleted");
  }
  if (!entry->isLive) {
    fault("a reference was deleted twice");
    return;
  }
  if (!entry->isGlobal) {
    --locals_[entry->owner].live;
  }
  entry->isLive = false;
  entry->object = nullptr;
}

ObjectPtr Jvm::internClass(const std::string& name) {
  std::lock_guard lock(mutex_);
  ObjectPtr& found = classes_[name];
  if (found == nullptr) {
    found = classObject(name);
  }
  return found;
}

const Jvm::Method* Jvm::internMethod(const Method& method) {
  std::lock_guard lock(mutex_);
  const auto found = std::find_if(methods_.begin(), methods_.end(), [&](const Method& known) {
    return known.id() == method.id() && known.signature == method.signature;
  });
  if (found != methods_.end()) {
    return &*found;
  }
  methods_.push_back(method);
  return &methods_.back();
}

std::string Jvm::describeMethod(jmethodID id) {
  if (id == nullptr) {
    return {};
  }
  const Method& method = *reinterpret_cast<const Method*>(id);
  return method.id() + method.signature;
}

void Jvm::addNative(Native native) {
  std::lock_guard lock(mutex_);
  natives_.push_back(std::move(native));
}

int Jvm::create(const JavaVMInitArgs& args) {
  std::lock_guard lock(mutex_);
  options_.clear();
  for (jint i = 0; i < args.nOptions; ++i) {
    options_.emplace_back(args.options[i].optionString, args.options[i].extraInfo);
  }
  args_ = args;
  args_->options = nullptr;  // the caller's array ends with the call
  if (isCreatedOnce && isCreated_) {
    return JNI_EEXIST;
  }
  isCreated_ = createResult == JNI_OK;
  return createResult;
}

void Jvm::hold(const void* buffer) {
  std::lock_guard lock(mutex_);
  buffers_.insert(buffer);
}

void Jvm::letGo(const void* buffer) {
  std::lock_guard lock(mutex_);
  if (buffers_.erase(buffer) == 0) {
    fault("a buffer was released that is not held");
  }
}

}  // namespace fakejvm
