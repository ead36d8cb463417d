// SPDX-License-Identifier: MIT
// Quantities as users read and write them.

const EXPOSURE_UNITS = { us: 1, 'µs': 1, 'μs': 1, ms: 1e3, s: 1e6, min: 60e6 };

/** Up to `digits` significant digits, no exponent. */
export const significant = (value, digits = 3) =>
  Number(value.toPrecision(digits)).toLocaleString('en', {
    useGrouping: false, maximumFractionDigits: 6,
  });

/** An exposure with its unit, from microseconds. */
export function exposureText(microseconds, digits = 6) {
  const unit = microseconds < 1e3 ? 'µs' : microseconds < 1e6 ? 'ms' : 's';
  return `${significant(microseconds / EXPOSURE_UNITS[unit], digits)} ${unit}`;
}

/** Microseconds of a text such as "20 ms", "2.5s" or "300 us"; without a unit in `unit`. */
export function parseExposure(text, unit = 'ms') {
  const parts = /^\s*([\d.,]+)\s*(us|µs|μs|ms|s|min)?\s*$/.exec(text);
  const number = parts ? Number(parts[1].replace(',', '.')) : NaN;
  return Number.isFinite(number) ? Math.round(number * EXPOSURE_UNITS[parts[2] ?? unit]) : null;
}

/** A duration such as "1:05:20" or "45 s", from seconds. */
export function durationText(seconds) {
  const whole = Math.ceil(seconds);
  if (whole < 60) return `${whole} s`;
  const pad = (number) => String(number).padStart(2, '0');
  const [hours, minutes] = [Math.floor(whole / 3600), Math.floor(whole / 60) % 60];
  return hours ? `${hours}:${pad(minutes)}:${pad(whole % 60)}` : `${minutes}:${pad(whole % 60)}`;
}

export function bytesText(bytes) {
  const units = ['B', 'kB', 'MB', 'GB', 'TB'];
  let power = 0;
  while (bytes >= 1000 && power < units.length - 1) {
    bytes /= 1000;
    power += 1;
  }
  return `${power ? significant(bytes) : bytes} ${units[power]}`;
}

/** Local time of day, from seconds since 1970. */
export const timeText = (seconds) =>
  new Date(seconds * 1000).toLocaleTimeString([], { hour12: false });

export const celsiusText = (celsius) =>
  typeof celsius === 'number' ? `${celsius.toFixed(1).replace('-', '−')}\u00a0°C` : '–';
