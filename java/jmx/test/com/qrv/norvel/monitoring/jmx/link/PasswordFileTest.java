package com.qrv.norvel.monitoring.jmx.link;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

final class PasswordFileTest {
  @TempDir private Path directory;

  @Test
  void theFirstLineIsThePassword() throws IOException {
    assertThat(RemoteDialer.password(file("s3cret word\r\nnot this\n", "rw-------")))
        .isEqualTo("s3cret word");
    assertThat(RemoteDialer.password(file("no-newline", "r--------"))).isEqualTo("no-newline");
  }

  @Test
  void aFileThatOthersMayReadIsRefusedWithoutShowingIt() throws IOException {
    Path open = file("s3cret\n", "rw-r-----");

    assertThatThrownBy(() -> RemoteDialer.password(open))
        .isInstanceOf(IOException.class)
        .hasMessageContaining("chmod 600")
        .satisfies(thrown -> assertThat(thrown.toString()).doesNotContain("s3cret"));
  }

  @Test
  void anAbsentOrEmptyFileIsNamed() throws IOException {
    assertThatThrownBy(() -> RemoteDialer.password(directory.resolve("none")))
        .hasMessageContaining("none");
    Path empty = file("\n", "rw-------");
    assertThatThrownBy(() -> RemoteDialer.password(empty)).hasMessageContaining("empty");
  }

  private Path file(String content, String permissions) throws IOException {
    Path file = Files.createTempFile(directory, "password", "");
    Files.writeString(file, content);
    return Files.setPosixFilePermissions(file, PosixFilePermissions.fromString(permissions));
  }
}
