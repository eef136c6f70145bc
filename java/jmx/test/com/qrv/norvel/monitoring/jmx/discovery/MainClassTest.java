package com.qrv.norvel.monitoring.jmx.discovery;

import static org.assertj.core.api.Assertions.assertThat;

import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

final class MainClassTest {
  @ParameterizedTest
  @CsvSource({
    "org.apache.catalina.startup.Bootstrap start, org.apache.catalina.startup.Bootstrap",
    "/opt/shop/shop.jar --port 80, /opt/shop/shop.jar",
    "lib/shop.jar, lib/shop.jar",
    "shop.module/com.shop.Main -v, com.shop.Main",
    "Main, Main",
  })
  void leavesArgumentsAndModulesOut(String command, String mainClass) {
    assertThat(MainClass.of(command)).isEqualTo(mainClass);
  }

  @ParameterizedTest
  @CsvSource({
    "org.apache.catalina.startup.Bootstrap, 17, Bootstrap:17",
    "/opt/shop/shop.jar, 17, shop:17",
    "lib/shop-1.2.jar, 17, shop-1.2:17",
    "com.shop.Outer$Inner, 17, Outer_Inner:17",
    "Käse, 17, K_se:17",
    "'', 4194304, jvm:4194304",
    "a.AVeryLongNameOfAMainClassThatNobodyReads, 4194304, AVeryLongNameOfAMainClas:4194304",
  })
  void aSubnodesNameIsShortAndPlain(String mainClass, long pid, String name) {
    assertThat(MainClass.subnodeName(mainClass, pid))
        .isEqualTo(name)
        .satisfies(text -> assertThat(text.length()).isLessThanOrEqualTo(32));
  }
}
