# shellcheck shell=bash
# For other scripts: a zone plate that moves from side to side, as a filter graph's source of RATE pictures/s.
rings="color=c=gray:s=720x576:r=RATE,format=yuv420p"
rings+=",geq=lum='128+90*cos((pow(X-360-40*sin(N/25),2)+pow(Y-288,2))/1100)':cb=128:cr=128"
