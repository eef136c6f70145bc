// The wrappers of the Java library's collections.

#include "agentfw/ras1.h"
#include "bridge/jni/zeljni.h"

RAS1_UNIT("ZELJNI");

jclass ZelJIterator::s_class = nullptr;
jmethodID ZelJIterator::s_mNext = nullptr;
jmethodID ZelJIterator::s_mHasNext = nullptr;
jclass ZelJArrayList::s_class = nullptr;
jmethodID ZelJArrayList::s_mCtor = nullptr;
jmethodID ZelJArrayList::s_mAdd = nullptr;
jmethodID ZelJArrayList::s_mGet = nullptr;
jmethodID ZelJArrayList::s_mSize = nullptr;
jclass ZelJMapEntry::s_class = nullptr;
jmethodID ZelJMapEntry::s_mGetKey = nullptr;
jmethodID ZelJMapEntry::s_mGetValue = nullptr;
jclass ZelJHashMap::s_class = nullptr;
jmethodID ZelJHashMap::s_mCtor = nullptr;
jmethodID ZelJHashMap::s_mPut = nullptr;
jmethodID ZelJHashMap::s_mGet = nullptr;
jmethodID ZelJHashMap::s_mNewEntryIterator = nullptr;

ZelJIterator::ZelJIterator(JNIEnv& threadEnv, jobject object)
    : ZelJObject(threadEnv, s_class, object) {}

void ZelJIterator::init(ZelJEnv& env) {
  RAS1_FLOW();
  if (s_class == nullptr) {
    s_class = env.getGlobalClassRef("java/util/Iterator");
    s_mNext = env.getMethodID(s_class, "next", "()Ljava/lang/Object;");
    s_mHasNext = env.getMethodID(s_class, "hasNext", "()Z");
  }
}

bool ZelJIterator::hasNext() { return callBooleanMethod(s_mHasNext) != JNI_FALSE; }

jobject ZelJIterator::next() { return callObjectMethod(s_mNext); }

ZelJArrayList::ZelJArrayList(JNIEnv& threadEnv) : ZelJObject(threadEnv, s_class, s_mCtor) {}

ZelJArrayList::ZelJArrayList(JNIEnv& threadEnv, jobject object)
    : ZelJObject(threadEnv, s_class, object) {}

void ZelJArrayList::init(ZelJEnv& env) {
  RAS1_FLOW();
  if (s_class == nullptr) {
    s_class = env.getGlobalClassRef("java/util/ArrayList");
    s_mCtor = env.getMethodID(s_class, "<init>", "()V");
    s_mAdd = env.getMethodID(s_class, "add", "(Ljava/lang/Object;)Z");
    s_mGet = env.getMethodID(s_class, "get", "(I)Ljava/lang/Object;");
    s_mSize = env.getMethodID(s_class, "size", "()I");
  }
}

bool ZelJArrayList::add(jobject element) { return callBooleanMethod(s_mAdd, element) != JNI_FALSE; }

jobject ZelJArrayList::get(int index) { return callObjectMethod(s_mGet, index); }

int ZelJArrayList::size() { return callIntMethod(s_mSize); }

ZelJMapEntry::ZelJMapEntry(JNIEnv& threadEnv, jobject object)
    : ZelJObject(threadEnv, s_class, object) {}

void ZelJMapEntry::init(ZelJEnv& env) {
  RAS1_FLOW();
  s_class = env.getGlobalClassRef("java/util/Map$Entry");
  s_mGetKey = env.getMethodID(s_class, "getKey", "()Ljava/lang/Object;");
  s_mGetValue = env.getMethodID(s_class, "getValue", "()Ljava/lang/Object;");
}

jobject ZelJMapEntry::getKey() { return callObjectMethod(s_mGetKey); }

jobject ZelJMapEntry::getValue() { return callObjectMethod(s_mGetValue); }

ZelJHashMap::ZelJHashMap(JNIEnv& threadEnv) : ZelJObject(threadEnv, s_class, s_mCtor) {}

ZelJHashMap::ZelJHashMap(JNIEnv& threadEnv, jobject object)
    : ZelJObject(threadEnv, s_class, object) {}

void ZelJHashMap::init(ZelJEnv& env) {
  RAS1_FLOW();
  s_class = env.getGlobalClassRef("java/util/HashMap");
  s_mCtor = env.getMethodID(s_class, "<init>", "()V");
  s_mPut =
      env.getMethodID(s_class, "put", "(Ljava/lang/Object;Ljava/lang/Object;)Ljava/lang/Object;");
  s_mGet = env.getMethodID(s_class, "get", "(Ljava/lang/Object;)Ljava/lang/Object;");
  s_mNewEntryIterator = env.getMethodID(s_class, "newEntryIterator", "()Ljava/util/Iterator;");
}

jobject ZelJHashMap::put(jobject key, jobject value) {
  return callObjectMethod(s_mPut, key, value);
}

jobject ZelJHashMap::get(jobject key) { return callObjectMethod(s_mGet, key); }

jobject ZelJHashMap::get(int key) {
  const ZelJInteger boxed(*env, key);
  return get(boxed.getHandle());
}

ZelJIterator ZelJHashMap::newEntryIterator() {
  return ZelJIterator(*env, callObjectMethod(s_mNewEntryIterator));
}
