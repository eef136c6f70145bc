// Turns values into text for people.

const whole = new Intl.NumberFormat();

export function number(value) {
  return whole.format(value);
}

/** A duration in milliseconds: "0.3 s", "12 s", "4 min", "3 h 5 min", "2 d 4 h". */
export function duration(ms) {
  const seconds = ms / 1000;
  if (seconds < 10) return `${seconds.toFixed(1)} s`;
  if (seconds < 100) return `${Math.round(seconds)} s`;
  const minutes = Math.floor(seconds / 60);
  if (minutes < 60) return `${minutes} min`;
  const hours = Math.floor(minutes / 60);
  if (hours < 24) return `${hours} h ${minutes % 60} min`;
  return `${Math.floor(hours / 24)} d ${hours % 24} h`;
}

/** How long ago something was: "just now", "12 s ago". */
export function ago(ms) {
  return ms < 1000 ? 'just now' : `${duration(ms)} ago`;
}

/** How long something has been so: "for 4 min". */
export function since(moment) {
  return `for ${duration(Math.max(0, Date.now() - new Date(moment)))}`;
}

export function bytes(count) {
  return count < 1024 * 1024 ? `${whole.format(Math.round(count / 1024))} KiB`
                             : `${whole.format(Math.round(count / 1024 / 1024))} MiB`;
}

/** "1 row", "2 rows". */
export function counted(count, noun) {
  return `${number(count)} ${noun}${count === 1 ? '' : 's'}`;
}
