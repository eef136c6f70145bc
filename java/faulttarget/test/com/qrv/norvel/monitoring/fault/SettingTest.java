package com.qrv.norvel.monitoring.fault;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

class SettingTest {
  @ParameterizedTest
  @CsvSource({
    "hang, HANG, 1",
    "hang=on, HANG, 1",
    "hang=off, HANG, -1",
    "throw, THROW, 1",
    "slow=1, SLOW, 1",
    "slow=3600000, SLOW, 3600000",
    "slow=off, SLOW, -1",
    "drop=0, DROP, 0",
    "beans=5000, BEANS, 5000",
    "pools=7, POOLS, 7",
    "restart=2, RESTART, 2",
    "gc=100, GC, 100",
    "notify=50, NOTIFY, 50",
  })
  void aSettingNamesAModeAndItsValue(String text, Mode mode, long value) throws UsageException {
    assertThat(Setting.parse(text)).isEqualTo(new Setting(mode, value));
  }

  @ParameterizedTest
  @CsvSource({
    "slow, 'slow=MS takes a number from 1 to 3600000, or off'",
    "slow=, 'slow=MS takes a number from 1 to 3600000, or off'",
    "slow=0, 'slow=MS takes a number from 1 to 3600000, or off'",
    "slow=3600001, 'slow=MS takes a number from 1 to 3600000, or off'",
    "slow=fast, 'slow=MS takes a number from 1 to 3600000, or off'",
    "slow=on, 'slow=MS takes a number from 1 to 3600000, or off'",
    "beans=-1, 'beans=N takes a number from 1 to 1000000, or off'",
    "hang=5, 'hang is on or off'",
    "hang=, 'hang is on or off'",
  })
  void aWrongValueIsNamedWithWhatWouldBeRight(String text, String expected) {
    assertThatThrownBy(() -> Setting.parse(text))
        .isInstanceOf(UsageException.class)
        .hasMessage("'" + text + "': " + expected);
  }

  @Test
  void anUnknownModeIsAnsweredWithThoseThatExist() {
    assertThatThrownBy(() -> Setting.parse("hnag"))
        .isInstanceOf(UsageException.class)
        .hasMessageContaining("there is no mode 'hnag'; the modes are hang, slow=MS, drop=BYTES");
  }

  @ParameterizedTest
  @CsvSource({"hang=on", "hang=off", "drop=0", "slow=20", "slow=off"})
  void aSettingIsShownAsItIsRead(String text) throws UsageException {
    assertThat(Setting.parse(text).toString()).isEqualTo(text);
  }
}
