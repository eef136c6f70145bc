package com.qrv.norvel.monitoring.jmx.net;

import static org.assertj.core.api.Assertions.assertThat;

import java.io.ObjectInputFilter.Status;
import java.io.ObjectInputFilter;
import java.util.ArrayList;
import java.util.TreeMap;
import org.junit.jupiter.api.Test;

final class RememberedFilterTest {
  private final ObjectInputFilter patterns =
      ObjectInputFilter.Config.createFilter("maxdepth=4;maxrefs=10;java.util.ArrayList;!*");
  private int asked;
  private final ObjectInputFilter filter =
      new RememberedFilter(
          info -> {
            asked++;
            return patterns.checkInput(info);
          },
          4,
          10);

  @Test
  void thePatternsAreAskedOnceForAClassThatPasses() {
    assertThat(filter.checkInput(new Info(ArrayList.class, 1, 1))).isEqualTo(Status.ALLOWED);
    assertThat(filter.checkInput(new Info(ArrayList.class, 2, 9))).isEqualTo(Status.ALLOWED);

    assertThat(asked).isEqualTo(1);
  }

  @Test
  void aClassIsRefusedEveryTime() {
    assertThat(filter.checkInput(new Info(TreeMap.class, 1, 1))).isEqualTo(Status.REJECTED);
    assertThat(filter.checkInput(new Info(TreeMap.class, 1, 1))).isEqualTo(Status.REJECTED);
  }

  @Test
  void whatIsTooLargeIsRefusedThoughItsClassPassedBefore() {
    assertThat(filter.checkInput(new Info(ArrayList.class, 1, 1))).isEqualTo(Status.ALLOWED);

    assertThat(filter.checkInput(new Info(ArrayList.class, 5, 1))).isEqualTo(Status.REJECTED);
    assertThat(filter.checkInput(new Info(ArrayList.class, 1, 11))).isEqualTo(Status.REJECTED);
    assertThat(filter.checkInput(new Info(null, 1, 11))).isEqualTo(Status.REJECTED);
  }

  private record Info(Class<?> serialClass, long depth, long references)
      implements ObjectInputFilter.FilterInfo {
    @Override
    public long arrayLength() {
      return -1;
    }

    @Override
    public long streamBytes() {
      return 1;
    }
  }
}
