package com.qrv.norvel.monitoring.jmx.net;

import java.io.ByteArrayOutputStream;
import java.io.DataOutputStream;
import java.io.IOException;
import java.net.InetAddress;
import java.nio.BufferUnderflowException;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import java.util.Base64;

/**
 * The stub of the management agent that a JVM has published as a text. It is taken apart byte by
 * byte and never read as an object: to read a stub is to call its host.
 *
 * <p>The text is {@code service:jmx:rmi://HOST/stub/} and, in Base64, one object in the format of
 * serialization: the descriptions of three classes, always the same, then one block with the kind
 * of the reference, host and port, and the 23 bytes that name the object in the JVM.
 *
 * @param object those bytes
 */
public record PublishedStub(String host, int port, byte[] object) {
  private static final String PREFIX = "service:jmx:rmi://";
  private static final String PATH = "/stub/";
  private static final int MAX_TEXT = 4096;

  private static final byte[] CLASSES = classes();
  private static final byte BLOCK = 0x77;
  private static final byte END = 0x78;
  private static final byte NO_FACTORY = 0;
  private static final int OBJECT_BYTES = 23;

  /** @throws IOException when it is anything else than the address of such an agent */
  public static PublishedStub parse(String address) throws IOException {
    int path = address.indexOf(PATH);
    if (address.length() > MAX_TEXT || !address.startsWith(PREFIX) || path < 0) {
      throw new IOException("the JVM publishes an address that is not of a management agent");
    }
    try {
      return parse(Base64.getDecoder().decode(address.substring(path + PATH.length())));
    } catch (IllegalArgumentException | BufferUnderflowException e) {
      throw new IOException("the stub that the JVM publishes is damaged", e);
    }
  }

  private static PublishedStub parse(byte[] bytes) {
    ByteBuffer stub = ByteBuffer.wrap(bytes);
    byte[] classes = new byte[CLASSES.length];
    stub.get(classes);
    require(Arrays.equals(classes, CLASSES));
    require(stub.get() == BLOCK);
    int length = Byte.toUnsignedInt(stub.get());
    require(length + 1 == stub.remaining() && bytes[bytes.length - 1] == END);
    String kind = text(stub);
    require(kind.equals("UnicastRef") || kind.equals("UnicastRef2"));
    // One that comes with a class that makes its sockets is none of this agent.
    require(kind.equals("UnicastRef") || stub.get() == NO_FACTORY);
    String host = text(stub);
    int port = stub.getInt();
    require(port > 0 && port <= 65_535);
    byte[] object = new byte[OBJECT_BYTES];
    stub.get(object);
    require(stub.remaining() == 1);
    return new PublishedStub(host, port, object);
  }

  private static void require(boolean holds) {
    if (!holds) {
      throw new IllegalArgumentException();
    }
  }

  private static String text(ByteBuffer stub) {
    byte[] bytes = new byte[Short.toUnsignedInt(stub.getShort())];
    stub.get(bytes);
    return new String(bytes, StandardCharsets.ISO_8859_1);
  }

  /** The same object behind another address of its host, to be read as an object. */
  public byte[] at(InetAddress address) throws IOException {
    ByteArrayOutputStream block = new ByteArrayOutputStream();
    DataOutputStream content = new DataOutputStream(block);
    content.writeUTF("UnicastRef");
    content.writeUTF(address.getHostAddress());
    content.writeInt(port);
    content.write(object);
    ByteArrayOutputStream stub = new ByteArrayOutputStream();
    stub.write(CLASSES);
    stub.write(BLOCK);
    stub.write(block.size());
    stub.write(block.toByteArray());
    stub.write(END);
    return stub.toByteArray();
  }

  private static byte[] classes() {
    ByteBuffer bytes = ByteBuffer.allocate(512);
    bytes.putShort((short) 0xaced).putShort((short) 5).put((byte) 0x73);
    describe(bytes, "javax.management.remote.rmi.RMIServerImpl_Stub", 2, 2);
    describe(bytes, "java.rmi.server.RemoteStub", -1585587260594494182L, 2);
    describe(bytes, "java.rmi.server.RemoteObject", -3215090123894869218L, 3);
    bytes.put((byte) 0x70);
    return Arrays.copyOf(bytes.array(), bytes.position());
  }

  /** A class without fields; what it extends follows. */
  private static void describe(ByteBuffer bytes, String name, long version, int flags) {
    bytes.put((byte) 0x72).putShort((short) name.length());
    bytes.put(name.getBytes(StandardCharsets.ISO_8859_1));
    bytes.putLong(version).put((byte) flags).putShort((short) 0).put(END);
  }
}
