package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.base.OperatorLog;
import com.qrv.norvel.monitoring.jmx.net.HostRoute;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermission;
import java.rmi.registry.LocateRegistry;
import java.util.List;
import java.util.Set;
import javax.management.remote.rmi.RMIServer;

/** Connects to a JVM that the configuration names. */
public final class RemoteDialer extends RmiDialer {
  private final RemoteAddress address;
  private final String user;
  private final Path passwordFile;
  private final List<String> allowedHosts;

  /**
   * @param user the user's name, or null to connect without one
   * @param passwordFile read at each attempt; its first line is the password
   * @param allowedHosts where its stubs may lead besides its own host
   */
  public RemoteDialer(
      String target,
      RemoteAddress address,
      String user,
      Path passwordFile,
      List<String> allowedHosts,
      LinkTimes times,
      OperatorLog log) {
    super(target, times, log);
    this.address = address;
    this.user = user;
    this.passwordFile = passwordFile;
    this.allowedHosts = allowedHosts;
  }

  @Override
  RMIServer server() throws Exception {
    if (!address.isInRegistry()) {
      // To read the stub is to call its host, which is refused as long as there is no route.
      RMIServer stub = read(address.stub());
      lead(HostRoute.of(stub, allowedHosts));
      return stub;
    }
    lead(new HostRoute(address.host(), allowedHosts));
    // Straight to the registry: a look-up through JNDI loads some hundred classes more.
    Object stub =
        LocateRegistry.getRegistry(address.host(), address.port()).lookup(address.entry());
    if (!(stub instanceof RMIServer)) {
      throw new IOException("the registry's entry " + address.entry() + " is not a JMX server");
    }
    return (RMIServer) stub;
  }

  @Override
  String[] credentials() throws IOException {
    return user == null ? null : new String[] {user, password(passwordFile)};
  }

  /**
   * Reads a password file.
   *
   * @throws IOException when it can't be read, is empty, or others than its owner may read it
   */
  static String password(Path file) throws IOException {
    Set<PosixFilePermission> permissions;
    try {
      permissions = Files.getPosixFilePermissions(file);
    } catch (IOException e) {
      throw new IOException("the password file " + file + " can't be read", e);
    }
    if (permissions.contains(PosixFilePermission.GROUP_READ)
        || permissions.contains(PosixFilePermission.OTHERS_READ)) {
      throw new IOException("the password file " + file + " is readable by others; chmod 600 it");
    }
    String text = new String(Files.readAllBytes(file), StandardCharsets.UTF_8);
    int end = text.indexOf('\n');
    String line = end < 0 ? text : text.substring(0, end);
    String password = line.endsWith("\r") ? line.substring(0, line.length() - 1) : line;
    if (password.isEmpty()) {
      throw new IOException("the first line of the password file " + file + " is empty");
    }
    return password;
  }
}
