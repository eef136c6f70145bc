#pragma once

#include <jni.h>

/// The JNI functions on the environment of one thread. Does not own the environment.
///
/// A Java exception out of a call is reported and cleared (ZelJvm::hasException), then thrown as a
/// ZelException. A null result without an exception is passed on to the caller.
class ZelJEnv {
 public:
  explicit ZelJEnv(JNIEnv& threadEnv) : env(&threadEnv) {}

  JNIEnv& getEnv() const { return *env; }

  jstring newStringUTF(const char* text);
  jstring newStringUTF(const unsigned char* text);
  jbyteArray newByteArray(int length);
  void setByteArrayRegion(jbyteArray array, int length, signed char* data);
  jbyteArray createByteArray(signed char* data, int length);
  jbyteArray createByteArray(unsigned char* data, int length);
  jobject newGlobalRef(jobject object);
  jclass findClass(const char* name);
  bool isInstanceOf(jobject object, jclass type);
  jmethodID getMethodID(jclass type, const char* name, const char* signature);
  jmethodID getStaticMethodID(jclass type, const char* name, const char* signature);
  jobject callStaticObjectMethod(jclass type, jmethodID method, ...);
  void deleteLocalRef(jobject object);  ///< null is skipped

  /// The class as a global reference, which the caller owns.
  jclass getGlobalClassRef(const char* name);

  /// A refusal without a Java exception passes silently.
  int registerNatives(jclass type, JNINativeMethod* methods, unsigned int count);

 protected:
  JNIEnv* env;
};

/// One Java object, owned as a local reference that ends with the wrapper.
///
/// Lives on the stack of one native call and one thread. The class references and method ids of the
/// subclasses are written once, when the JVM starts, and never given back.
class ZelJObject : public ZelJEnv {
 public:
  /// Wraps an object; throws when it is neither null nor an instance of the class.
  ZelJObject(JNIEnv& threadEnv, jclass type, jobject object);
  /// Creates an object; the constructor's Java arguments follow.
  ZelJObject(JNIEnv& threadEnv, jclass type, jmethodID ctor, ...);
  ZelJObject(const ZelJObject&) = delete;
  ZelJObject& operator=(const ZelJObject&) = delete;
  virtual ~ZelJObject();

  bool isNull() const { return m_handle == nullptr; }
  jobject getHandle() const { return m_handle; }
  operator jobject() const { return m_handle; }

  /// Gives the local reference up to the thread's frame: it outlives the wrapper.
  jobject detach();

  int callIntMethod(jmethodID method, ...);
  long long callLongMethod(jmethodID method, ...);
  void callVoidMethod(jmethodID method, ...);
  jobject callObjectMethod(jmethodID method, ...);
  unsigned char callBooleanMethod(jmethodID method, ...);

 protected:
  jobject m_handle;
  bool ownsLocal = true;
};

class ZelJString : public ZelJObject {
 public:
  ZelJString(JNIEnv& threadEnv, jobject object);
  ~ZelJString() override;
  static void init(ZelJEnv& env);

  /// The modified-UTF-8 characters, terminated; null for a null string. Valid until release().
  const char* getData();
  /// Bytes of the characters; 0 for a null string.
  int getLength();
  /// Copies at most `n` bytes and pads with zeros: not terminated when the text has `n` or more.
  void getData(char* dst, unsigned int n);
  void release();

  static jclass s_class;

 private:
  jstring string;
  int length = 0;  ///< 0: not asked yet
  const char* characters = nullptr;
};

class ZelJByteArray : public ZelJObject {
 public:
  ZelJByteArray(JNIEnv& threadEnv, jobject object);
  ~ZelJByteArray() override;
  static void init(ZelJEnv& env);

  /// The elements; null for a null array. Valid until release(); nothing is written back.
  signed char* getData();
  int getLength();  ///< 0 for a null array
  /// Copies at most `n` bytes and pads with zeros.
  void getData(void* dst, unsigned int n);
  void release();

  static jclass s_class;

 private:
  jbyteArray array;
  signed char* elements = nullptr;
};

class ZelJInteger : public ZelJObject {
 public:
  ZelJInteger(JNIEnv& threadEnv, int value);
  ZelJInteger(JNIEnv& threadEnv, jobject object);
  static void init(ZelJEnv& env);
  int intValue();

  static jclass s_class;
  static jmethodID s_mCtorIntArg;
  static jmethodID s_mIntValue;
};

class ZelJLong : public ZelJObject {
 public:
  ZelJLong(JNIEnv& threadEnv, long long value);
  ZelJLong(JNIEnv& threadEnv, jobject object);
  static void init(ZelJEnv& env);
  long long longValue();

  static jclass s_class;
  static jmethodID s_mCtorLongArg;
  static jmethodID s_mLongValue;
};

class ZelJBoolean : public ZelJObject {
 public:
  ZelJBoolean(JNIEnv& threadEnv, unsigned char value);
  ZelJBoolean(JNIEnv& threadEnv, jobject object);
  static void init(ZelJEnv& env);
  unsigned char booleanValue();

  static jclass s_class;
  static jmethodID s_mCtorBoolArg;
  static jmethodID s_mBooleanValue;
};

class ZelJIterator : public ZelJObject {
 public:
  ZelJIterator(JNIEnv& threadEnv, jobject object);
  static void init(ZelJEnv& env);
  bool hasNext();
  jobject next();  ///< a local reference that the caller owns

  static jclass s_class;
  static jmethodID s_mNext;
  static jmethodID s_mHasNext;
};

class ZelJArrayList : public ZelJObject {
 public:
  explicit ZelJArrayList(JNIEnv& threadEnv);
  ZelJArrayList(JNIEnv& threadEnv, jobject object);
  static void init(ZelJEnv& env);
  bool add(jobject element);
  jobject get(int index);  ///< a local reference that the caller owns
  int size();

  static jclass s_class;
  static jmethodID s_mCtor;
  static jmethodID s_mAdd;
  static jmethodID s_mGet;
  static jmethodID s_mSize;
};

class ZelJMapEntry : public ZelJObject {
 public:
  ZelJMapEntry(JNIEnv& threadEnv, jobject object);
  static void init(ZelJEnv& env);
  jobject getKey();    ///< a local reference that the caller owns
  jobject getValue();  ///< a local reference that the caller owns

  static jclass s_class;
  static jmethodID s_mGetKey;
  static jmethodID s_mGetValue;
};

/// Walks its entries with the map's own newEntryIterator(), which the Java runtime must have.
class ZelJHashMap : public ZelJObject {
 public:
  explicit ZelJHashMap(JNIEnv& threadEnv);
  ZelJHashMap(JNIEnv& threadEnv, jobject object);
  static void init(ZelJEnv& env);
  jobject put(jobject key, jobject value);  ///< the value it replaces; the caller owns it
  jobject get(jobject key);                 ///< a local reference that the caller owns
  jobject get(int key);                     ///< the value under an Integer key
  ZelJIterator newEntryIterator();

  static jclass s_class;
  static jmethodID s_mCtor;
  static jmethodID s_mPut;
  static jmethodID s_mGet;
  static jmethodID s_mNewEntryIterator;
};
