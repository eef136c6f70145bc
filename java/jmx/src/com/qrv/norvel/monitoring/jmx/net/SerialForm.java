package com.qrv.norvel.monitoring.jmx.net;

import java.io.IOException;
import java.io.ObjectStreamConstants;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Set;

/**
 * Reads an answer in its serialized form, without making an object of it, and refuses what would
 * keep a thread busy.
 *
 * <p>Whoever reads a hash table computes the hash of each key, and so walks through all that the
 * key holds. What is shared is walked through once for each way that leads to it: a few hundred
 * bytes with sets in sets can take 2^50 steps. A filter of deserialization does not see this,
 * because it is told neither what is shared nor the class of an object, only that of the first one.
 * So the steps of each object are counted here, as if nothing were shared: for all that comes in,
 *
 * <ul>
 *   <li>it is nested at most {@value #MAX_DEPTH} deep,
 *   <li>walking through it takes at most {@value #MAX_STEPS} steps,
 *   <li>a hash table has at most {@value #MAX_COMPOSED} keys and values that are more than a text
 *       or a number: those whose hashes are equal are compared with each other,
 *   <li>nothing refers to itself, but for exceptions that have no cause.
 * </ul>
 *
 * <p>Which classes may come in is the business of the filter, see {@link RmiSetup}.
 */
final class SerialForm implements ObjectStreamConstants {
  static final int MAX_DEPTH = 32;
  static final long MAX_STEPS = 20_000_000;
  static final int MAX_COMPOSED = 4096;

  private static final int MAX_SUPERCLASSES = 16;

  /** So many bytes of plain data count as one step. */
  private static final int BYTES_PER_STEP = 16;

  /** Compute hashes while they are read. The others of their kind do not come in. */
  private static final Set<String> HASH_TABLES =
      Set.of("java.util.HashMap", "java.util.HashSet", "java.util.CollSer");

  /** Have an order that hash tables know, so that equal hashes cost nothing. */
  private static final Set<String> PLAIN =
      Set.of(
          "java.lang.Boolean", "java.lang.Byte", "java.lang.Character", "java.lang.Double",
          "java.lang.Float", "java.lang.Integer", "java.lang.Long", "java.lang.Short",
          "javax.management.ObjectName");

  /** Read their own data and no fields. With fields, they would read what is meant for others. */
  private static final Set<String> WITHOUT_FIELDS =
      Set.of("java.rmi.server.RemoteObject", "java.util.Date");

  private static final String THROWABLE_FIELD = "Ljava/lang/Throwable;";

  /**
   * Something that the stream can refer to.
   *
   * @param steps of a walk through it
   * @param isPlain a text, a number or the like
   * @param shape when it is the description of a class, else null
   * @param type when it is a text that is the type of a field, else null
   */
  private record Part(long steps, boolean isPlain, Shape shape, String type) {
    static final Part NULL = new Part(1, true, null, null);
    static final Part UNFINISHED = new Part(1, false, null, null);
  }

  /**
   * The description of a class.
   *
   * @param primitiveBytes of its fields that are no objects
   * @param fields the types of its other fields
   * @param hasMore whether it writes more than its fields
   * @param parent of its superclass, or null
   */
  private record Shape(
      String name, long primitiveBytes, List<String> fields, boolean hasMore, Shape parent) {}

  private final AnswerTape tape;
  private final long maxParts;
  private final List<Part> parts = new ArrayList<>(); // by the handle that the stream gives them
  private long steps;

  /** @param maxParts how many objects and classes may come */
  private SerialForm(AnswerTape tape, long maxParts) {
    this.tape = tape;
    this.maxParts = maxParts;
  }

  /** Reads what a stream begins with. */
  static SerialForm begin(AnswerTape tape, long maxParts) throws IOException {
    if ((short) tape.readShort() != STREAM_MAGIC || tape.readShort() != STREAM_VERSION) {
      throw new RefusedAnswerException("the answer is no stream of objects");
    }
    return new SerialForm(tape, maxParts);
  }

  /** Reads an object, or a piece of plain data; false at the end of all. */
  boolean readContent() throws IOException {
    int tag = tape.readOrEnd();
    if (isPlainData(tag)) {
      readPlainData(tag);
    } else if (tag >= 0) {
      steps = sum(steps, object(tag, 1).steps());
    }
    return tag >= 0;
  }

  private static boolean isPlainData(int tag) {
    return tag == TC_BLOCKDATA || tag == TC_BLOCKDATALONG;
  }

  private long readPlainData(int tag) throws IOException {
    long length = tag == TC_BLOCKDATA ? tape.readByte() : Integer.toUnsignedLong(tape.readInt());
    tape.skip(length);
    return length / BYTES_PER_STEP;
  }

  private Part object(int depth) throws IOException {
    return object(tape.readByte(), depth);
  }

  /** Reads an object that must be complete when it is referred to. */
  private Part object(int tag, int depth) throws IOException {
    Part part = anyObject(tag, depth);
    if (part == Part.UNFINISHED) {
      throw new RefusedAnswerException("the answer has an object that holds itself");
    }
    return part;
  }

  private Part anyObject(int tag, int depth) throws IOException {
    if (depth > MAX_DEPTH) {
      throw new RefusedAnswerException("the answer is nested more than " + MAX_DEPTH + " deep");
    }
    return switch (tag) {
      case TC_NULL -> Part.NULL;
      case TC_REFERENCE -> referredTo();
      case TC_STRING -> text(tape.readShort());
      case TC_LONGSTRING -> text(tape.readLong());
      case TC_OBJECT -> newObject(depth);
      case TC_ARRAY -> newArray(depth);
      case TC_ENUM -> newEnum(depth);
      case TC_CLASS -> newClass(depth);
      default -> throw malformed();
    };
  }

  private static RefusedAnswerException malformed() {
    return new RefusedAnswerException("the answer is malformed, or uses what is not accepted");
  }

  private Part referredTo() throws IOException {
    int handle = tape.readInt() - baseWireHandle;
    if (handle < 0 || handle >= parts.size()) {
      throw malformed();
    }
    return parts.get(handle);
  }

  /** Gives the next handle to something that will be finished later. */
  private int begin() throws RefusedAnswerException {
    if (parts.size() >= maxParts) {
      throw new RefusedAnswerException("the answer has more than " + maxParts + " objects");
    }
    parts.add(Part.UNFINISHED);
    return parts.size() - 1;
  }

  private Part finish(int handle, long itsSteps, boolean isPlain) {
    Part part = new Part(itsSteps, isPlain, null, null);
    parts.set(handle, part);
    return part;
  }

  private static long sum(long some, long more) throws RefusedAnswerException {
    long both = some + more;
    if (both > MAX_STEPS) {
      throw new RefusedAnswerException(
          "the answer takes more than " + MAX_STEPS + " steps to walk through");
    }
    return both;
  }

  private Part text(long length) throws IOException {
    int handle = begin();
    tape.skip(length);
    return finish(handle, 1 + length / BYTES_PER_STEP, true);
  }

  private Part newClass(int depth) throws IOException {
    described(depth);
    return finish(begin(), 1, false);
  }

  private Part newEnum(int depth) throws IOException {
    described(depth);
    int handle = begin();
    object(depth + 1);
    return finish(handle, 1, true);
  }

  private Part newArray(int depth) throws IOException {
    String name = described(depth).name();
    int handle = begin();
    int length = tape.readInt();
    if (length < 0 || name.length() < 2 || name.charAt(0) != '[') {
      throw malformed();
    }
    long itsSteps = 1;
    int size = primitiveSize(name.charAt(1));
    if (size > 0) {
      long bytes = (long) size * length;
      tape.skip(bytes);
      itsSteps = sum(itsSteps, bytes / BYTES_PER_STEP);
    } else {
      for (int i = 0; i < length; i++) {
        itsSteps = sum(itsSteps, object(depth + 1).steps());
      }
    }
    return finish(handle, itsSteps, false);
  }

  private Part newObject(int depth) throws IOException {
    Shape shape = described(depth);
    int handle = begin();
    long itsSteps = sum(1, data(shape, depth));
    return finish(handle, itsSteps, PLAIN.contains(shape.name()));
  }

  /** Reads the data of an object that belong to a class and those above it. */
  private long data(Shape shape, int depth) throws IOException {
    long itsSteps = shape.parent() == null ? 0 : data(shape.parent(), depth);
    tape.skip(shape.primitiveBytes());
    itsSteps = sum(itsSteps, shape.primitiveBytes() / BYTES_PER_STEP);
    for (String type : shape.fields()) {
      // An exception without a cause is its own.
      Part part =
          type.equals(THROWABLE_FIELD)
              ? anyObject(tape.readByte(), depth + 1)
              : object(depth + 1);
      itsSteps = sum(itsSteps, part.steps());
    }
    return shape.hasMore() ? sum(itsSteps, more(shape, depth)) : itsSteps;
  }

  /** Reads what a class writes besides its fields. */
  private long more(Shape shape, int depth) throws IOException {
    boolean isHashTable = HASH_TABLES.contains(shape.name());
    int composed = 0;
    long itsSteps = 0;
    for (int tag = tape.readByte(); tag != TC_ENDBLOCKDATA; tag = tape.readByte()) {
      if (isPlainData(tag)) {
        itsSteps = sum(itsSteps, readPlainData(tag));
        continue;
      }
      Part part = object(tag, depth + 1);
      itsSteps = sum(itsSteps, part.steps());
      if (isHashTable && !part.isPlain() && ++composed > MAX_COMPOSED) {
        throw new RefusedAnswerException(
            "the answer has a hash table with more than " + MAX_COMPOSED
                + " keys and values that are no simple ones");
      }
    }
    return itsSteps;
  }

  /** Reads the description of an object's class. */
  private Shape described(int depth) throws IOException {
    Shape shape = description(depth, 0);
    if (shape == null) {
      throw malformed();
    }
    return shape;
  }

  private Shape description(int depth, int superclasses) throws IOException {
    if (superclasses > MAX_SUPERCLASSES) {
      throw malformed();
    }
    int tag = tape.readByte();
    switch (tag) {
      case TC_NULL:
        return null;
      case TC_REFERENCE:
        Shape known = referredTo().shape();
        if (known == null) {
          throw malformed();
        }
        return known;
      case TC_PROXYCLASSDESC:
        return proxy(depth, superclasses);
      case TC_CLASSDESC:
        return classOfItsOwn(depth, superclasses);
      default:
        throw malformed();
    }
  }

  private Shape proxy(int depth, int superclasses) throws IOException {
    int handle = begin();
    for (int left = tape.readInt(); left > 0; left--) {
      tape.skip(tape.readShort());
    }
    skipAnnotation(depth);
    Shape parent = description(depth, superclasses + 1);
    return describe(handle, new Shape("", 0, List.of(), false, parent));
  }

  private Shape classOfItsOwn(int depth, int superclasses) throws IOException {
    String name = tape.readName(tape.readShort());
    tape.skip(Long.BYTES);
    int handle = begin();
    int flags = tape.readByte();
    if ((flags & SC_EXTERNALIZABLE) != 0) {
      throw new RefusedAnswerException("the answer has an object that describes itself");
    }
    long primitiveBytes = 0;
    String[] objects = new String[tape.readShort()];
    int fields = 0;
    for (int left = objects.length; left > 0; left--) {
      char type = (char) tape.readByte();
      tape.skip(tape.readShort());
      if (type == 'L' || type == '[') {
        objects[fields++] = typeName();
      } else if (primitiveSize(type) > 0) {
        primitiveBytes += primitiveSize(type);
      } else {
        throw malformed();
      }
    }
    boolean hasMore = (flags & SC_WRITE_METHOD) != 0;
    if (WITHOUT_FIELDS.contains(name) && (primitiveBytes + fields > 0 || !hasMore)) {
      throw malformed();
    }
    skipAnnotation(depth);
    Shape parent = description(depth, superclasses + 1);
    List<String> types = List.of(Arrays.copyOf(objects, fields));
    return describe(handle, new Shape(name, primitiveBytes, types, hasMore, parent));
  }

  private Shape describe(int handle, Shape shape) {
    parts.set(handle, new Part(1, false, shape, null));
    return shape;
  }

  /** The type of a field, by name. */
  private String typeName() throws IOException {
    int tag = tape.readByte();
    if (tag == TC_STRING) {
      int handle = begin();
      int length = tape.readShort();
      String name = tape.readName(length);
      parts.set(handle, new Part(1 + length / BYTES_PER_STEP, true, null, name));
      return name;
    }
    String known = tag == TC_REFERENCE ? referredTo().type() : null;
    if (known == null) {
      throw malformed();
    }
    return known;
  }

  /** RMI says here where a class can be had from; nobody goes there. */
  private void skipAnnotation(int depth) throws IOException {
    for (int tag = tape.readByte(); tag != TC_ENDBLOCKDATA; tag = tape.readByte()) {
      if (isPlainData(tag)) {
        readPlainData(tag);
      } else {
        object(tag, depth + 1);
      }
    }
  }

  /** Bytes of a primitive type by the letter that stands for it; 0 for all others. */
  private static int primitiveSize(char type) {
    return switch (type) {
      case 'B', 'Z' -> 1;
      case 'C', 'S' -> 2;
      case 'F', 'I' -> 4;
      case 'D', 'J' -> 8;
      default -> 0;
    };
  }
}
