/* The QuickTime.framework of this platform: it stands for the platform library, which it is linked
   against. Names looked up in it ("QTNewDataReferenceFromFSRefCFString") are found there. Functions
   on media are not: the platform has no movies. */

/* The version whose interfaces the platform provides: 7.0, binary-coded decimal. */
extern const unsigned int QuickTimeFrameworkVersion;
const unsigned int QuickTimeFrameworkVersion = 0x0700;
