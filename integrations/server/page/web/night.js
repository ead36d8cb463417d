// SPDX-License-Identifier: MIT
// The red night mode. A plain script in the head, so that a page never begins in other colours.
{
  const show = (isOn) => {
    document.documentElement.classList.toggle('night', isOn);
    document.getElementById('night')?.setAttribute('aria-pressed', isOn);
    dispatchEvent(new Event('resize')); // what is drawn on canvases takes the new colours
  };
  const isOn = () => localStorage.getItem('night') === 'on';
  show(isOn());
  addEventListener('storage', () => show(isOn()));
  addEventListener('DOMContentLoaded', () => {
    show(isOn());
    document.getElementById('night')?.addEventListener('click', () => {
      localStorage.setItem('night', isOn() ? 'off' : 'on');
      show(isOn());
    });
  });
}
