#pragma once

/// Keys of the metadata stores. Misspellings ("Metedata", "CeanAperture") are part of the keys.
namespace service::mediainfo::metedata_keys {

/// Of the file.
inline constexpr char kArtist[] = "MediaFile_Metedata_Artist";
inline constexpr char kTitle[] = "MediaFile_Metedata_Title";
inline constexpr char kTrackNumber[] = "MediaFile_Metedata_TrackNumber";
inline constexpr char kAlbum[] = "MediaFile_Metedata_Album";
/// Combined date text: creation and modification time as "Y:M:D:h:m:s,Y:M:D:h:m:s", or one of them, in local time.
inline constexpr char kDate[] = "MediaFile_Metedata_Date";
/// Answered from kDate, as seconds since 1970.
inline constexpr char kCreateDate[] = "MediaFile_Metedata_CreateDate";
inline constexpr char kModifyDate[] = "MediaFile_Metedata_ModifyDate";
inline constexpr char kGenre[] = "MediaFile_Metedata_Genre";
inline constexpr char kPublisher[] = "MediaFile_Metedata_Publisher";
inline constexpr char kShow[] = "MediaFile_Metedata_Show";
inline constexpr char kReleaseDate[] = "MediaFile_Metedata_ReleaseDate";
inline constexpr char kActor[] = "MediaFile_Metedata_Actor";
inline constexpr char kDirector[] = "MediaFile_Metedata_Director";
inline constexpr char kProducer[] = "MediaFile_Metedata_Producer";
inline constexpr char kScreenwriter[] = "MediaFile_Metedata_Screenwriter";
inline constexpr char kTagline[] = "MediaFile_Metedata_Tagline";
inline constexpr char kDescription[] = "MediaFile_Metedata_Description";
inline constexpr char kComment[] = "MediaFile_Metedata_Comment";
inline constexpr char kTvnetwork[] = "MediaFile_Metedata_Tvnetwork";
inline constexpr char kMaker[] = "MediaFile_Metedata_Maker";
inline constexpr char kModel[] = "MediaFile_Metedata_Model";
/// Degrees without sign; the hemisphere stands in the Ref keys as "N"/"S" and "E"/"W".
inline constexpr char kGpsLatitude[] = "MediaFile_Metedata_GPSLatitude";
inline constexpr char kGpsLongitude[] = "MediaFile_Metedata_GPSLongitude";
inline constexpr char kGpsLatitudeRef[] = "MediaFile_Metedata_GPSLatitudeRef";
inline constexpr char kGpsLongitudeRef[] = "MediaFile_Metedata_GPSLongitudeRef";
inline constexpr char kVideoKind[] = "MediaFile_Metedata_VideoKind";
inline constexpr char kImageData[] = "MediaFile_Metedata_ImageData";
inline constexpr char kContentRating[] = "MediaFile_Metedata_ContentRating";
inline constexpr char kDefinition[] = "MediaFile_Metedata_Definition";
/// Boxed AIGC_META.
inline constexpr char kAigcMeta[] = "MediaFile_Metedata_AIGCMeta";
inline constexpr char kAlphaMode[] = "MediaFile_Metedata_ALPHA_MODE";

/// Of an image. Numbers are kInt32 unless said; kAlphaMode stands in an image's store too.
/// Bits of imagecore::ImageFlag: which of the keys below were found.
inline constexpr char kImageFlag[] = "Image_Metedata_Flag";
/// kDouble, degrees without sign; the hemisphere stands in the Ref keys as "N"/"S" and "E"/"W".
inline constexpr char kImageGpsLatitude[] = "Image_Metedata_GPSLatitude";
inline constexpr char kImageGpsLongitude[] = "Image_Metedata_GPSLongitude";
inline constexpr char kImageGpsLatitudeRef[] = "Image_Metedata_GPSLatitudeRef";
inline constexpr char kImageGpsLongitudeRef[] = "Image_Metedata_GPSLongitudeRef";
inline constexpr char kImageCameraMaker[] = "Image_Metedata_CameraMaker";
inline constexpr char kImageCameraModel[] = "Image_Metedata_CameraModel";
/// Combined date text, as kDate.
inline constexpr char kImageDate[] = "Image_Metedata_Date";
/// Answered from kImageDate, as seconds since 1970.
inline constexpr char kImageCreateDate[] = "Image_Metedata_CreateDate";
inline constexpr char kImageModifyDate[] = "Image_Metedata_ModifyDate";
/// kDouble, seconds.
inline constexpr char kImageExposureTime[] = "Image_Metedata_ExposureTime";
/// Degrees clockwise, and imagecore::Flip: the picture is flipped first, then rotated, to show it upright.
inline constexpr char kImageRotate[] = "Image_Metedata_Rotate";
inline constexpr char kImageFlip[] = "Image_Metedata_Flip";
/// Pixels of the stored picture, before flip and rotation.
inline constexpr char kImageWidth[] = "Image_Metedata_Width";
inline constexpr char kImageHeight[] = "Image_Metedata_Height";
/// imagecore::PictureType.
inline constexpr char kImagePicType[] = "Image_Metedata_PicType";
/// Durations are kDouble, seconds; that of a sequence is told at 25 frames per second.
inline constexpr char kImagePicSequenceDuration[] = "Image_Metedata_PicSequenceDuration";
inline constexpr char kImagePicSequenceTotalFrames[] = "Image_Metedata_PicSequenceTotalFrames";
inline constexpr char kImageWebPDuration[] = "Image_Metedata_WebpDuration";
inline constexpr char kImageGifDuration[] = "Image_Metedata_GifDuration";
inline constexpr char kImageGifFrameRateNum[] = "Image_Metedata_GifFrameRate_Num";
inline constexpr char kImageGifFrameRateDen[] = "Image_Metedata_GifFrameRate_Den";
/// Label of AI-generated content: bytes of its text, and the text.
inline constexpr char kImageAigcMetaSize[] = "Image_Metedata_AIGCMetaSize";
inline constexpr char kImageAigcMetaData[] = "Image_Metedata_AIGCMetaData";
inline constexpr char kImageAvifDuration[] = "Image_Metedata_AvifDuration";
/// kUInt32, first character in the least significant byte.
inline constexpr char kImageFourCC[] = "Image_Metedata_FourCC";

/// Of a picture stream. Numbers are kInt32 unless said.
inline constexpr char kVideoTransferCharacteristics[] = "MediaFile_Metedata_Video_Transfer_Characteristics";
inline constexpr char kVideoMatrixCoefficients[] = "MediaFile_Metedata_Video_Matrix_Coefficients";
inline constexpr char kVideoAlphaChannel[] = "MediaFile_Metedata_Video_Alpha_Channel";
/// Boxed core::Rational, frames per second, not reduced.
inline constexpr char kVideoMaxFramerate[] = "MediaFile_Metedata_Video_Max_Framerate";
/// Wide text in a zeroed buffer of kVideoFormatProfileUnits units; one that fills the buffer has no terminator.
inline constexpr char kVideoFormatProfile[] = "MediaFile_Metedata_Video_Format_Profile";
inline constexpr unsigned kVideoFormatProfileUnits = 64;
/// Likewise with kVideoFormatSettingsGopUnits units.
inline constexpr char kVideoFormatSettingsGop[] = "MediaFile_Metedata_Video_Format_Settings_Gop";
inline constexpr unsigned kVideoFormatSettingsGopUnits = 16;
inline constexpr char kVideoFormatSettingsCabac[] = "MediaFile_Metedata_Video_Format_Settings_CABAC";
inline constexpr char kVideoFormatSettingsRefframe[] = "MediaFile_Metedata_Video_Format_Settings_Refframe";
inline constexpr char kVideoIsTruncated[] = "MediaFile_Metedata_Video_Is_Truncated";
inline constexpr char kVideoIsDolbyVision[] = "MediaFile_Metedata_Video_Is_DolbyVision";
inline constexpr char kVideoCountOfViews[] = "MediaFile_Metedata_Video_Count_of_Views";
inline constexpr char kVideoFullIdr[] = "MediaFile_Metedata_Video_FULL_IDR";
inline constexpr char kVideoCleanApertureWidth[] = "MediaFile_Metedata_Video_CeanAperture_Width";
inline constexpr char kVideoCleanApertureHeight[] = "MediaFile_Metedata_Video_CeanAperture_Height";
inline constexpr char kVideoCleanApertureXoff[] = "MediaFile_Metedata_Video_CeanAperture_Xoff";
inline constexpr char kVideoCleanApertureYoff[] = "MediaFile_Metedata_Video_CeanAperture_Yoff";
inline constexpr char kVideoFrameView3dMode[] = "MediaFile_Metedata_Video_Frame_View_3D_Mode";
inline constexpr char kVideoFrameView3dAngle[] = "MediaFile_Metedata_Video_Frame_View_3D_Angle";

}  // namespace service::mediainfo::metedata_keys
