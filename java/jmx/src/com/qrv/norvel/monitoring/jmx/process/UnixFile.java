package com.qrv.norvel.monitoring.jmx.process;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.nio.file.attribute.UserPrincipal;
import java.util.Map;

/**
 * What a name in a file system stands for; a link is not followed.
 *
 * @param owner the user of {@code uid}, as the runtime represents it
 */
public record UnixFile(
    int mode, int uid, UserPrincipal owner, int links, long size, long device, long inode) {
  private static final int TYPE = 0170000;
  private static final int SOCKET = 0140000;
  private static final int REGULAR = 0100000;
  private static final int DIRECTORY = 0040000;
  private static final int WRITABLE_BY_OTHERS = 0022;

  /** @throws IOException when there is nothing of that name, or it is hidden from us */
  public static UnixFile of(Path path) throws IOException {
    Map<String, Object> facts =
        Files.readAttributes(
            path, "unix:mode,uid,owner,nlink,size,dev,ino", LinkOption.NOFOLLOW_LINKS);
    return new UnixFile(
        (Integer) facts.get("mode"),
        (Integer) facts.get("uid"),
        (UserPrincipal) facts.get("owner"),
        (Integer) facts.get("nlink"),
        (Long) facts.get("size"),
        (Long) facts.get("dev"),
        (Long) facts.get("ino"));
  }

  public boolean isSocket() {
    return (mode & TYPE) == SOCKET;
  }

  boolean isRegular() {
    return (mode & TYPE) == REGULAR;
  }

  boolean isDirectory() {
    return (mode & TYPE) == DIRECTORY;
  }

  boolean isWritableByOthers() {
    return (mode & WRITABLE_BY_OTHERS) != 0;
  }

  boolean isSameAs(UnixFile other) {
    return device == other.device && inode == other.inode;
  }
}
