package com.qrv.norvel.monitoring.jmx.net;

import java.io.ByteArrayInputStream;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.ObjectInputStream;
import java.io.ObjectOutputStream;
import java.lang.reflect.Proxy;
import java.rmi.Remote;
import java.rmi.server.RemoteObject;
import java.rmi.server.RemoteRef;

/** Where the calls on a stub go. */
record StubEndpoint(String host, int port) {
  /**
   * Takes a stub apart.
   *
   * @throws IOException when it is not one that calls go over the network with
   */
  static StubEndpoint of(Remote stub) throws IOException {
    Object object = Proxy.isProxyClass(stub.getClass()) ? Proxy.getInvocationHandler(stub) : stub;
    RemoteRef reference = object instanceof RemoteObject remote ? remote.getRef() : null;
    if (reference == null) {
      throw new IOException("it is no stub");
    }
    ByteArrayOutputStream bytes = new ByteArrayOutputStream();
    try (ObjectOutputStream output = new ObjectOutputStream(bytes)) {
      String kind = reference.getRefClass(output);
      reference.writeExternal(output);
      output.flush();
      // Only what is written of basic types is read again, never an object.
      ObjectInputStream input =
          new ObjectInputStream(new ByteArrayInputStream(bytes.toByteArray()));
      return read(kind, input);
    }
  }

  /** @param kind a reference of the second kind tells first whether a socket factory follows */
  private static StubEndpoint read(String kind, ObjectInputStream input) throws IOException {
    if ("UnicastRef2".equals(kind)) {
      input.readByte();
    } else if (!"UnicastRef".equals(kind)) {
      throw new IOException("its calls go an unknown way");
    }
    return new StubEndpoint(input.readUTF(), input.readInt());
  }
}
